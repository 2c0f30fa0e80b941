// Whole runs within the limits that the system sets to a process: the run is as it is without them,
// or it ends as stated, and the installer is never started on a copy that is not whole.

#include "tests/conditions/staging_model.h"
#include "tests/conditions/worlds.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr int kCannotSetUp = 126;

void SetLimit(__rlimit_resource resource, long value) {
  const rlimit limit = {static_cast<rlim_t>(value), static_cast<rlim_t>(value)};
  if (::setrlimit(resource, &limit) != 0) ::_exit(kCannotSetUp);
}

/// Whoever runs the tests may have left more of them open.
void CloseAllButTheStreams() {
  constexpr int kUsualLimit = 1024;
  for (int number = STDERR_FILENO + 1; number < kUsualLimit; ++number) ::close(number);
}

/// Whether the system can start the launcher at all: its libraries are files and memory, too. The
/// launcher itself is asked for as little as possible.
bool CanBeStarted(const std::function<void()>& before) {
  const Outcome outcome =
      RunProgram({.command = {BuiltProgram("kvl-launcher"), "-env"}, .before = before});
  return outcome.status == 1 && outcome.err == "ERROR: Bad -env argument\n";
}

TEST(Limits, OnDescriptorsEndTheStagingWhereOneIsMissing) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes descriptors of its own";
  LaunchWorld world;
  world.VolumeMissing();
  constexpr long kStreams = 3, kLeastForTheScan = 4, kMost = 11;
  const auto limited = [](long count) {
    return [=] {
      CloseAllButTheStreams();
      SetLimit(RLIMIT_NOFILE, count);
    };
  };
  long least = kLeastForTheScan;
  while (least < kMost && !CanBeStarted(limited(least))) ++least;

  const long enough = FirstEnough(least, kMost, 1, [&](long count) {
    return ExpectRunIn(world, {.descriptors = count - kStreams}, {.before = limited(count)});
  });
  // Four directories lie in each other, and two files are open for a copy.
  EXPECT_EQ(enough, kStreams + 4 + 2);
}

/// Nothing of the media can be opened then, so nothing is said of its volumes. The one descriptor
/// that the system needs to start the launcher is that of standard input, which the launcher
/// occupies.
TEST(Limits, OnDescriptorsThatLeaveNoneEndTheStagingAtItsBeginning) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes descriptors of its own";
  LaunchWorld world;
  world.VolumeMissing();
  LaunchSeen seen = world.Run({.before = [] {
    ::close(STDIN_FILENO);
    SetLimit(RLIMIT_NOFILE, 3);
  }});
  seen.err = WithoutIdentifiers(seen.err);
  ExpectRun(
      world, seen,
      {.status = 1,
       .out = SaysFoundIn("{1}"),
       .err = says::StagingFailed("{tmp}/<id>/", "opendir - {1}/inst - Too many open files")});
}

TEST(Limits, OnTheSizeOfFilesEndTheStagingAtTheFirstThatIsLonger) {
  constexpr long kSeveralWrites = 150'000, kStep = 32'768;
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("1").File("media.db", DifferentBytes(kSeveralWrites));
  const auto run_within = [&](long size) {
    return ExpectRunIn(world, {.file_size = size}, {.before = [&] {
                         SetLimit(RLIMIT_FSIZE, size);
                         ::signal(SIGXFSZ, SIG_DFL);
                       }});
  };
  FirstEnough(0, kSeveralWrites + kStep, kStep, run_within);
  // Messages that are cut off, and the last byte of a write.
  for (const long size : {1L, 7L, 100L, 200L, 400L, 500L, 1000L, 65'535L, 65'537L, 131'071L}) {
    SCOPED_TRACE(size);
    run_within(size);
  }
}

TEST(Limits, OnProcessesLeaveNoneForTheInstaller) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& expected) {
    if (const std::string why = WhyNoOrdinaryUser(world); !why.empty()) GTEST_SKIP() << why;
    const FakeUser ordinary(65534);  // for what is expected: the limit does not bind the superuser
    for (const bool limited : {false, true}) {
      LaunchPlan plan = {.before = [&] {
        EnterAsOrdinaryUser(world.Directory());
        if (limited) SetLimit(RLIMIT_NPROC, 0);
      }};
      // A sanitizer looks for leaks in one more process.
      plan.env = {{"ASAN_OPTIONS", "detect_leaks=0"}};
      ExpectedRun fails = expected.Ends(255).But([](auto& run) { run.arguments = {}; });
      fails.err += says::CannotCreate(CommandOf(expected.arguments));
      world.Expect(limited ? fails : expected, plan);
      world.EmptyTmp();
    }
  });
}

/// Whether the staged launch with this limit is as without one. If it is not, it has not succeeded,
/// and an installer that was started all the same was so from a whole copy.
bool IsAsEver(LaunchWorld& world, __rlimit_resource resource, long limit) {
  world.EmptyTmp();
  const LaunchSeen seen = world.Run({.env = {{"FAKE_EXIT", "7"}}, .before = [&] {
                                       SetLimit(RLIMIT_CORE, 0);
                                       SetLimit(resource, limit);
                                     }});
  const ExpectedRun expected = Staged().Ends(7);
  if (seen.status == expected.status) {
    ExpectRun(world, seen, expected);
    return true;
  }
  EXPECT_NE(seen.status, 0);
  if (seen.child.started) {
    EXPECT_EQ(seen.staged, LinesOf(expected.left, world, expected.env.os));
  }
  return false;
}

TEST(Limits, OnTheStackNeverStartPartOfACopy) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs more of the stack";
  constexpr long kKibibyte = 1024, kAlwaysEnough = 128 * kKibibyte;
  LaunchWorld world;
  world.VolumeMissing();
  // In steps that are longer than what the system leaves free at random.
  const long enough = FirstEnough(32 * kKibibyte, 256 * kKibibyte, 32 * kKibibyte,
                                  [&](long size) { return IsAsEver(world, RLIMIT_STACK, size); });
  EXPECT_LE(enough, kAlwaysEnough);
}

TEST(Limits, OnMemoryNeverStartPartOfACopy) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer reserves most of the address space";
  constexpr long kMebibyte = 1024 * 1024, kStep = kMebibyte / 8;
  LaunchWorld world;
  world.VolumeMissing();
  // With less, not even the programs themselves get into memory.
  long least = kMebibyte;
  while (least < 16 * kMebibyte && !CanBeStarted([&] { SetLimit(RLIMIT_AS, least); })) {
    least += kMebibyte;
  }
  FirstEnough(least - kMebibyte, least + 2 * kMebibyte, kStep,
              [&](long size) { return IsAsEver(world, RLIMIT_AS, size); });
}

}  // namespace
}  // namespace kvl::test
