// Whole rounds of kvl-media in places that few machines are: everything is as elsewhere, or ends as
// stated.

#include "tests/companion/whole_round.h"
#include "tests/conditions/own_root.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

using RoundInARoot = OwnMountsTest;

void ExpectTheUsualRoundWith(const std::vector<std::string>& shown, const std::string& cleaning) {
  RoundWorld world;
  RunWithOwnRoot(world.Path("."), shown, [&](const OwnRoot& root) {
    world.ExpectTheUsualRound({.before = [&] { root.Enter(); }, .cleaning = cleaning});
    EXPECT_FALSE(root.IsMountPoint());
    for (const std::string path : {"/proc", "/dev/null"}) {
      EXPECT_EQ(root.Has(path), std::count(shown.begin(), shown.end(), path) != 0) << path;
    }
  });
}

TEST_F(RoundInARoot, ThatIsNoMountPointIsAsElsewhere) {
  ExpectTheUsualRoundWith({"/proc", "/dev/null"}, {});
}

/// Nobody can tell whether a copy is in use.
TEST_F(RoundInARoot, WithoutProcLeavesAloneWhatWasStaged) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  ExpectTheUsualRoundWith(
      {"/dev/null"},
      "clean: 1\nleft alone   {tmp}/<id>: what is mounted cannot be looked at in /proc\n--\n");
}

TEST_F(RoundInARoot, WithoutTheNullDeviceIsAsElsewhere) {
  ExpectTheUsualRoundWith({"/proc"}, {});
}

}  // namespace
}  // namespace kvl::test
