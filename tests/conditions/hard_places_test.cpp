// Whole runs in unusual places: the run is the same as elsewhere, or ends as documented.

#include <sys/syscall.h>

#include "tests/conditions/memory_group.h"
#include "tests/conditions/own_mounts.h"
#include "tests/conditions/worlds.h"
#include "tests/support/call_filter.h"
#include "tests/support/preloaded.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

/// Starts a program by a call of its own (execveat), in a child that shares this memory.
class OtherCall {
 public:
  OtherCall(const std::string& program, const Environment& env) : program_(program) {
    for (const auto& [name, value] : env) pairs_.push_back(name + "=" + value);
    for (std::string& pair : pairs_) variables_.push_back(pair.data());
    variables_.push_back(nullptr);
  }
  OtherCall(const OtherCall&) = delete;
  OtherCall& operator=(const OtherCall&) = delete;

  void Become() {
    char* const arguments[] = {program_.data(), nullptr};
    ::execveat(AT_FDCWD, program_.c_str(), arguments, variables_.data(), 0);
  }

 private:
  std::string program_;
  std::vector<std::string> pairs_;
  std::vector<char*> variables_;
};

/// Acts like a security policy of the system (SELinux and its like): every check says that the
/// installer may be executed, but its execution fails.
TEST(Policy, ThatForbidsToExecuteTheInstallerEndsWith255) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    OtherCall call(BuiltProgram("kvl-launcher"), world.Expect(run).given);
    world.EmptyTmp();
    world.Expect(NotStarted(run), {.before = [&] {
                   FilterCalls({SYS_execve}, SECCOMP_RET_ERRNO | EACCES);
                   call.Become();
                 }});
  });
}

TEST(Locale, ThatDoesNotExistChangesNothing) {
  for (const std::string name : {"xx_XX.UTF-8", "/nowhere", "C.KOI8-R"}) {
    InPlaceAndStaged([&](LaunchWorld& world, const ExpectedRun& run) {
      const Environment locale = {
          {"FAKE_EXIT", "7"}, {"LC_ALL", name}, {"LANG", name}, {"LANGUAGE", name}};
      world.Expect(run.Ends(7), {.env = locale});
    });
  }
}

using Overlay = OwnOverlayTest;

/// The media lies in the lower layer, as in a container image, and the temporary directory in the
/// upper one.
TEST_F(Overlay, HoldsMediaAndTemporaryDirectoryLikeAnyFileSystem) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    const TestDirectory place;
    RunWithOwnMounts([&] {
      const OverlayMount overlay(world.Path("."), place.Path());
      world.Expect(run.Ends(7), {.env = {{"FAKE_EXIT", "7"}}});
    });
  });
}

using Fuse = OwnFuseTest;

TEST_F(Fuse, HoldsMediaAndTemporaryDirectoryLikeAnyFileSystem) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    RunWithOwnMounts([&] {
      const FuseMount fuse(world.Path("."));
      world.Expect(run.Ends(7), {.env = {{"FAKE_EXIT", "7"}}});
    });
  });
}

TEST(InodeNumbers, ThatDifferAtEachLookChangeNothing) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    LaunchPlan plan = {.env = WithOddInodes()};
    plan.env["FAKE_EXIT"] = "7";
    world.Expect(run.Ends(7), plan);
  });
}

constexpr long kMiB = 1024 * 1024;

/// The copy goes to a disk and is far longer than the memory that is allowed at a time.
TEST(MemoryGroupOf16MiB, IsEnoughForARun) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    const MemoryGroup group(16 * kMiB);
    if (!group.WhyNot().empty()) GTEST_SKIP() << group.WhyNot();
    for (int i = 0; i < 200; ++i) {
      world.Volume("1").File("inst/common/many/" + std::to_string(i), "text");
    }
    world.Volume("1").File("inst/common/long", std::string(4 * kMiB, 'x'));
    world.Expect(run.Ends(7), {.env = {{"FAKE_EXIT", "7"}}, .before = [&] { group.Enter(); }});
  });
}

TEST(Clock, ThatIsWrongOrLateChangesNothing) {
  for (const long time : kOddTimes) {
    SCOPED_TRACE(time);
    LaunchPlan plan = {.env = WithClockAt(time)};
    plan.env["FAKE_EXIT"] = "7";
    LaunchWorld one, several;
    one.OneVolume().Expect(InPlace().Ends(7), plan);
    // At the same time every copy gets the same name, which shows that the time is the same.
    const auto staging_in = [&] {
      several.EmptyTmp();
      several.Expect(Staged().Ends(7), plan);
      return several.Text("{staging}");
    };
    several.VolumeMissing();
    EXPECT_EQ(staging_in(), staging_in());
  }
}

TEST(Clock, OfTheMediaReachesTheCopyUnchanged) {
  for (const long time : kOddTimes) {
    SCOPED_TRACE(time);
    LaunchWorld world;
    world.VolumeMissing();
    SetTimes(world.Path("1/media.db"), time, time);
    world.Expect(Staged());
    EXPECT_EQ(StatusOf(world.Text("{staging}") + "/media.db").st_mtime, time);
  }
}

}  // namespace
}  // namespace kvl::test
