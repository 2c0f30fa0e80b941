// Whole runs as process 1, as in a container without an init.

#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

/// Runs `action` in a thread whose first child is process 1 for its descendants.
void WithChildAsProcessOne(const std::function<void()>& action) {
  std::thread([&] {
    RequireDone(::unshare(CLONE_NEWPID) == 0, "have processes of its own");
    action();
  }).join();
}

class ProcessOne : public testing::Test {
 protected:
  void SetUp() override {
    const auto try_it = [] { return ::unshare(CLONE_NEWPID) == 0 ? 0 : 1; };
    if (RunIsolated(try_it).status != 0) {
      GTEST_SKIP() << "process numbers of one's own are not permitted here";
    }
  }

  /// Makes a media in "1" whose installer is a line of shell.
  void InstallerDoes(const std::string& line) {
    world_.OneVolume();
    world_.Volume("1").File("inst/linux/code/bin/installer", "#!/bin/sh\n" + line + "\n");
    SetMode(world_.Path("1/inst/linux/code/bin/installer"), 0755);
  }

  LaunchSeen Run(const LaunchPlan& plan = {}) {
    LaunchSeen seen;
    WithChildAsProcessOne([&] { seen = world_.Run(plan); });
    return seen;
  }

  LaunchWorld world_;
  const std::string pipe_ = world_.Directory().Pipe("pipe");
};

TEST_F(ProcessOne, RunsTheInstallerLikeAnyProcess) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    LaunchSeen seen;
    WithChildAsProcessOne([&] { seen = world.Run({.env = {{"FAKE_EXIT", "7"}}}); });
    ExpectRun(world, seen, run.Ends(7));
    EXPECT_EQ(seen.child.facts.at("parent"), "1");
  });
}

/// Each of these signals would end another process. The last two are meant for the installer alone.
TEST_F(ProcessOne, IsNotEndedBySignals) {
  world_.OneVolume();
  const LaunchSeen seen = Run({.env = {{"FAKE_EXIT", "7"}, {"FAKE_KILL", " 15 1 10 14 2 3"}}});
  ExpectRun(world_, seen, InPlace().Ends(7));
}

TEST_F(ProcessOne, DoesNotTakeTheEndOfAnOrphanForThatOfTheInstaller) {
  // The orphan ends while the installer waits for its output to end.
  InstallerDoes("( (exit 3) >'" + pipe_ + "' & ); cat '" + pipe_ + "'; exit 7");
  EXPECT_EQ(Run().status, 7);
}

TEST_F(ProcessOne, EndsTogetherWithTheProcessesThatTheInstallerLeaves) {
  InstallerDoes("exec 3>'" + pipe_ + "'; sleep 1000 & exit 7");
  const int end = ::open(pipe_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_EQ(Run().status, 7);
  char byte;
  EXPECT_EQ(::read(end, &byte, 1), 0) << "somebody can still write into it";
  ::close(end);
}

}  // namespace
}  // namespace kvl::test
