// Whole runs: the launcher's exit status after each kind of end of the installer.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

constexpr int kHighestPassedOn = 250;
constexpr int kAnythingElse = 255;

/// The expected run of an installer that has no exit code to pass on.
ExpectedRun WithoutExitCode(const ExpectedRun& run) {
  return run.Ends(kAnythingElse).Warns(run.err + says::CannotWait(CommandOf(run.arguments)));
}

/// The expected run of an installer that cannot be started.
ExpectedRun NotStarted() {
  ExpectedRun expected = WithoutExitCode(InPlace());
  expected.arguments = {};
  return expected;
}

TEST(RunExitCode, IsTheInstallersUpTo250AndOtherwise255WithAMessage) {
  LaunchWorld world;
  world.OneVolume();
  const std::string message = world.Text(WithoutExitCode(InPlace()).err);
  for (int code = 0; code <= 255; ++code) {
    const bool passed_on = code <= kHighestPassedOn;
    const LaunchSeen seen = world.Launch("1", {.env = {{"FAKE_EXIT", std::to_string(code)}}});
    EXPECT_EQ(seen.status, passed_on ? code : kAnythingElse) << "the installer ended with " << code;
    EXPECT_EQ(seen.err, passed_on ? "" : message) << "the installer ended with " << code;
  }
}

TEST(RunExitCode, OfAnInstallerKilledByASignalIs255) {
  LaunchWorld world;
  world.OneVolume();
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGKILL, SIGSEGV, SIGPIPE, SIGTERM}) {
    SCOPED_TRACE(number);
    world.Expect(WithoutExitCode(InPlace()),
                 {.env = {{"FAKE_SIGNAL", std::to_string(number)}}, .before = LeaveNoCore});
  }
}

TEST(RunExitCode, OfAnInstallerThatCannotBeRunIs255) {
  const std::string installer = InstallerOf("1");
  ExpectRuns({
      {"it may not be executed",
       [&](LaunchWorld& world) {
         world.OneVolume();
         SetMode(world.Path(installer), 0644);
       },
       NotStarted()},
      {"its program is missing",
       [&](LaunchWorld& world) {
         SetMode(world.Directory().Write(installer, "#!/nonexistent/interpreter\n"), 0755);
       },
       NotStarted()},
  });
}

}  // namespace
}  // namespace kvl::test
