// Whole runs within the system's limits for a process: the run is the same as without limits, or
// ends as documented, and the launcher never starts the installer from an incomplete copy.

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

/// The caller of the tests may have left further descriptors open.
void CloseAllButTheStreams() {
  constexpr int kUsualLimit = 1024;
  for (int number = STDERR_FILENO + 1; number < kUsualLimit; ++number) ::close(number);
}

/// Returns whether the system can start the launcher at all, which needs libraries and thus files
/// and memory. Asks the launcher for as little as possible.
bool CanBeStarted(const std::function<void()>& before) {
  const Outcome outcome =
      RunProgram({.command = {BuiltProgram("kvl-launcher"), "-env"}, .before = before});
  return outcome.status == 1 && outcome.err == "ERROR: Bad -env argument\n";
}

TEST(Limits, OnDescriptorsEndTheStagingAtTheFirstMissingOne) {
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
  // Four nested directories are open, and two files for a copy.
  EXPECT_EQ(enough, kStreams + 4 + 2);
}

/// The launcher then can open no file of the media, and says nothing about volumes. The system
/// needs one descriptor to start the launcher, that of standard input, which the launcher then
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
  // Cut-off messages, and the last byte of a write.
  for (const long size : {1L, 7L, 100L, 200L, 400L, 500L, 1000L, 65'535L, 65'537L, 131'071L}) {
    SCOPED_TRACE(size);
    run_within(size);
  }
}

TEST(Limits, OnProcessesLeaveNoneForTheInstaller) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& expected) {
    if (const std::string why = WhyNoOrdinaryUser(world); !why.empty()) GTEST_SKIP() << why;
    const FakeUser ordinary(65534);  // for the expected run; the limit does not bind the superuser
    for (const bool limited : {false, true}) {
      LaunchPlan plan = {.before = [&] {
        EnterAsOrdinaryUser(world.Directory());
        if (limited) SetLimit(RLIMIT_NPROC, 0);
      }};
      // A sanitizer searches for leaks in a further process.
      plan.env = {{"ASAN_OPTIONS", "detect_leaks=0"}};
      ExpectedRun fails = expected.Ends(255).But([](auto& run) { run.arguments = {}; });
      fails.err += says::CannotCreate(CommandOf(expected.arguments));
      world.Expect(limited ? fails : expected, plan);
      world.EmptyTmp();
    }
  });
}

/// Returns whether the staged launch with this limit is the same as without it. If it is not,
/// expects it to fail, and an installer that it started to come from a complete copy.
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
  // In steps longer than the random gap that the system leaves.
  const long enough = FirstEnough(32 * kKibibyte, 256 * kKibibyte, 32 * kKibibyte,
                                  [&](long size) { return IsAsEver(world, RLIMIT_STACK, size); });
  EXPECT_LE(enough, kAlwaysEnough);
}

TEST(Limits, OnMemoryNeverStartPartOfACopy) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer reserves most of the address space";
  constexpr long kMebibyte = 1024 * 1024, kStep = kMebibyte / 8;
  LaunchWorld world;
  world.VolumeMissing();
  // With less, the programs themselves do not fit into memory.
  long least = kMebibyte;
  while (least < 16 * kMebibyte && !CanBeStarted([&] { SetLimit(RLIMIT_AS, least); })) {
    least += kMebibyte;
  }
  FirstEnough(least - kMebibyte, least + 2 * kMebibyte, kStep,
              [&](long size) { return IsAsEver(world, RLIMIT_AS, size); });
}

}  // namespace
}  // namespace kvl::test
