// Whole runs in a root directory that lacks something which other systems have.

#include "tests/conditions/own_root.h"

#include "tests/conditions/worlds.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

using RunInARoot = OwnMountsTest;

/// Compares a run in place and a staged one in a root that shows these files and directories.
void ExpectUsualRunsWith(const std::vector<std::string>& shown,
                         const std::function<void(const OwnRoot&)>& look) {
  InPlaceAndStaged([&](LaunchWorld& world, const ExpectedRun& run) {
    RunWithOwnRoot(world.Path("."), shown, [&](const OwnRoot& root) {
      look(root);
      world.Expect(run.Ends(7), {.env = {{"FAKE_EXIT", "7"}}, .before = [&] { root.Enter(); }});
      look(root);
    });
  });
}

TEST_F(RunInARoot, ThatIsNoMountPointIsAsElsewhere) {
  ExpectUsualRunsWith({"/proc", "/dev/null"}, [](const OwnRoot& root) {
    EXPECT_TRUE(root.Has("/proc/self") && root.Has("/dev/null"));
    EXPECT_FALSE(root.IsMountPoint());
  });
}

TEST_F(RunInARoot, WithoutProcIsAsElsewhere) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  ExpectUsualRunsWith({"/dev/null"}, [](const OwnRoot& root) { EXPECT_FALSE(root.Has("/proc")); });
}

TEST_F(RunInARoot, WithoutTheNullDeviceIsAsElsewhere) {
  ExpectUsualRunsWith({"/proc"}, [](const OwnRoot& root) { EXPECT_FALSE(root.Has("/dev/null")); });
}

}  // namespace
}  // namespace kvl::test
