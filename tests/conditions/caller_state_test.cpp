// Whole runs of a caller whose directory is gone, or who blocks or ignores every signal.

#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

LaunchPlan InDeletedDirectory(LaunchWorld& world, const Environment& env) {
  world.Volume("gone");
  const std::string gone = world.Path("gone");
  return {.env = env, .before = [gone] { ::rmdir(gone.c_str()); }, .directory = gone};
}

TEST(DeletedDirectory, HasNoPlaceForARelativeTemporaryDirectory) {
  ExternalWorld world;
  LaunchPlan plan = InDeletedDirectory(world, {{"TMPDIR", "tmp"}});
  plan.arguments = {"-installerPath", "{ext}"};
  LaunchSeen seen = world.Launch("1", plan);
  seen.err = WithoutIdentifiers(seen.err);
  ExpectRun(world, seen,
            FailedFromExternal("tmp/<id>/", "mkdir - tmp/<id>/inst - No such file or directory"));
}

TEST(DeletedDirectory, ContainsNoRelativeMedia) {
  LaunchWorld world;
  world.OneVolume();
  ExpectRun(world, world.Launch("1", InDeletedDirectory(world, {{"CurrentMediaDir", "1"}})),
            {.status = 1, .out = SaysNoneIn("1"), .err = says::NoInstaller()});
}

/// Returns every signal that a process can block.
std::vector<int> AllSignals() {
  std::vector<int> signals;
  for (int signal = 1; signal < 32; ++signal) {
    if (signal != SIGKILL && signal != SIGSTOP) signals.push_back(signal);
  }
  return signals;
}

/// Pending signals stay with the launcher, which ends before the system delivers them.
TEST(Signals, ThatAreBlockedAndPendingChangeNothing) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& expected) {
    const LaunchPlan plan = {.env = {{"FAKE_EXIT", "7"}}, .before = [] {
                               sigset_t all;
                               ::sigfillset(&all);
                               ::sigprocmask(SIG_SETMASK, &all, nullptr);
                               for (const int signal : AllSignals()) ::raise(signal);
                             }};
    const LaunchSeen seen = world.Expect(expected.Ends(7), plan);
    std::string blocked;
    for (const int signal : AllSignals()) blocked += std::to_string(signal) + " ";
    EXPECT_EQ(seen.child.facts.at("blocked"), blocked);
  });
}

TEST(Signals, ThatAreAllIgnoredStaySoForAStagedInstaller) {
  LaunchWorld world;
  const LaunchPlan plan = {.env = {{"FAKE_EXIT", "7"}}, .before = [] {
                             for (const int signal : AllSignals()) ::signal(signal, SIG_IGN);
                           }};
  const LaunchSeen seen = world.VolumeMissing().Expect(Staged().Ends(7), plan);
  for (const char* name : {"SIGPIPE", "SIGXFSZ", "SIGCHLD", "SIGINT", "SIGQUIT"}) {
    EXPECT_EQ(seen.child.facts.at(name), "ignored") << name;
  }
}

}  // namespace
}  // namespace kvl::test
