// Whole runs: what the end of the installer makes of the launcher's exit status.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kHighestPassedOn = 250;
constexpr int kAnythingElse = 255;

const std::string kCommand = "\"{1}/inst/linux/code/bin/installer\" \"-CDpath\" \"{1}\"";

/// A run whose installer was started but has no exit code to pass on.
ExpectedRun WithoutExitCode() {
  ExpectedRun expected = InPlace();
  expected.status = kAnythingElse;
  expected.err = SaysCannotWait(kCommand);
  return expected;
}

/// A run whose installer could not be run.
ExpectedRun NotStarted() {
  ExpectedRun expected = WithoutExitCode();
  expected.arguments = {};
  return expected;
}

TEST(RunExitCode, IsTheInstallersUpTo250AndElse255WithAMessage) {
  LaunchWorld world;
  world.OneVolume();
  const std::string message = world.Text(SaysCannotWait(kCommand));
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
  const auto without_core = [] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
  };
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGKILL, SIGSEGV, SIGPIPE, SIGTERM}) {
    SCOPED_TRACE(number);
    const LaunchSeen seen =
        world.Run({.env = {{"FAKE_SIGNAL", std::to_string(number)}}, .before = without_core});
    ExpectRun(world, seen, WithoutExitCode());
  }
}

TEST(RunExitCode, OfAnInstallerThatMayNotBeExecutedIs255) {
  LaunchWorld world;
  world.OneVolume();
  SetMode(world.Path("1/inst/linux/code/bin/installer"), 0644);
  ExpectRun(world, world.Run(), NotStarted());
}

TEST(RunExitCode, OfAProgramThatIsMissingIs255) {
  LaunchWorld world;
  world.OneVolume();
  world.Directory().Write("1/inst/linux/code/bin/installer", "#!/nonexistent/interpreter\n");
  SetMode(world.Path("1/inst/linux/code/bin/installer"), 0755);
  ExpectRun(world, world.Run(), NotStarted());
}

TEST(RunExitCode, OfAStagedInstallerIsPassedOnToo) {
  for (const int code : {12, 250, 251}) {
    LaunchWorld world;
    world.VolumeMissing();
    const LaunchSeen seen = world.Run({.env = {{"FAKE_EXIT", std::to_string(code)}}});
    ExpectedRun expected = Staged();
    if (code <= kHighestPassedOn) {
      expected.status = code;
    } else {
      expected.status = kAnythingElse;
      expected.err +=
          SaysCannotWait("\"{staging}/inst/linux/code/bin/installer\" \"-CDpath\" \"{staging}\"");
    }
    ExpectRun(world, seen, expected);
  }
}

}  // namespace
}  // namespace kvl::test
