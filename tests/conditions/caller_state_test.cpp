// Whole runs of a caller whose directory is gone, or who blocks and ignores every signal.

#include "tests/conditions/external_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kSignals = 32;

TEST(DeletedDirectory, HasNoPlaceForARelativeTemporaryDirectory) {
  ExternalWorld world;
  world.Volume("gone");
  const std::string gone = world.Path("gone");
  LaunchPlan plan = {.env = {{"TMPDIR", "tmp"}}, .directory = gone};
  plan.before = [&] { ::rmdir(gone.c_str()); };
  plan.arguments = {"-installerPath", "{ext}"};
  LaunchSeen seen = world.Launch("1", plan);
  seen.err = WithoutIdentifiers(seen.err);
  ExpectRun(world, seen,
            FailedFromExternal("tmp/<id>/", "mkdir - tmp/<id>/inst - No such file or directory"));
}

TEST(DeletedDirectory, HoldsNoRelativeMedia) {
  LaunchWorld world;
  world.OneVolume().Volume("gone");
  const std::string gone = world.Path("gone");
  LaunchPlan plan = {.env = {{"CurrentMediaDir", "1"}}, .directory = gone};
  plan.before = [&] { ::rmdir(gone.c_str()); };
  ExpectRun(world, world.Launch("1", plan),
            {.status = 1,
             .out = SaysNoneIn("1"),
             .err = "ERROR: The installer is not found, please read the file "
                    "\"ReadMe_UNIX.txt\".\n"});
}

/// What is pending stays with the launcher, which ends before it could be delivered.
TEST(Signals, ThatAreBlockedAndPendingChangeNothing) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    const LaunchSeen seen = world.Run({.env = {{"FAKE_EXIT", "7"}}, .before = [] {
                                         sigset_t all;
                                         ::sigfillset(&all);
                                         ::sigprocmask(SIG_SETMASK, &all, nullptr);
                                         for (int signal = 1; signal < kSignals; ++signal) {
                                           if (signal == SIGKILL || signal == SIGSTOP) continue;
                                           ::raise(signal);
                                         }
                                       }});
    ExpectedRun expected = staged ? Staged() : InPlace();
    expected.status = 7;
    ExpectRun(world, seen, expected);
    std::string blockable;
    for (int signal = 1; signal < kSignals; ++signal) {
      if (signal == SIGKILL || signal == SIGSTOP) continue;
      blockable += std::to_string(signal) + " ";
    }
    EXPECT_EQ(seen.child.facts.at("blocked"), blockable);
  }
}

TEST(Signals, ThatAreAllIgnoredStaySoForAStagedInstaller) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.env = {{"FAKE_EXIT", "7"}}, .before = [] {
                                       for (int signal = 1; signal < kSignals; ++signal) {
                                         ::signal(signal, SIG_IGN);
                                       }
                                     }});
  ExpectedRun expected = Staged();
  expected.status = 7;
  ExpectRun(world, seen, expected);
  for (const char* name : {"SIGPIPE", "SIGXFSZ", "SIGCHLD", "SIGINT", "SIGQUIT"}) {
    EXPECT_EQ(seen.child.facts.at(name), "ignored") << name;
  }
}

}  // namespace
}  // namespace kvl::test
