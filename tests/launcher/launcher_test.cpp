#include "launcher/launcher.h"

#include "tests/launcher/launch_world.h"
#include "tests/support/generator_twin.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

/// A Launcher without arguments. The test sets its fields.
class PlainLauncher : public Launcher {
 public:
  explicit PlainLauncher(bool wait = kWaitForInstaller)
      : Launcher(0, nullptr, "installer", kWithoutUI, wait) {
    OsName = "linux";
  }
};

TEST(Launcher, SendsAContinuationWhereItsOwnLastMessageWent) {
  const Outcome said = Catch([] {
    PlainLauncher launcher, other;
    launcher.Message("error", 3, true);
    launcher.Message("after the error", 0, false);
    other.Message("first of another", 0, true);
    launcher.Message("information", 1, false);
    launcher.Message("after the information", 0, true);
  });
  EXPECT_EQ(said.out, says::More("first of another") + says::Info("information") +
                          says::More("after the information"));
  EXPECT_EQ(said.err, says::Error("error") + says::More("after the error"));
}

/// Scans the media with a list that is not empty. Returns the code, the list, and whether the media
/// counts as complete.
std::vector<std::string> ScannedOnto(const MediaWorld& world, const std::string& media,
                                     bool software_management = false) {
  const ScopedEnv env;
  PlainLauncher launcher;
  launcher.MediaDir = KVLInsIO::InsPath(world.Path(media));
  launcher.SoftMgt = software_management;
  std::vector<std::string> volumes = {"already there"};
  int code = -1;
  Catch([&] { code = launcher.ScanMediaVolumes(volumes); });
  volumes.insert(volumes.begin(), std::to_string(code));
  if (launcher.ManagementMode) volumes.emplace_back("complete");
  return volumes;
}

TEST(Launcher, AScanAppendsTheVolumesAndNotesACompleteMedia) {
  MediaWorld world;
  world.Volume("1");
  EXPECT_THAT(ScannedOnto(world, "1"), ElementsAre("1", "already there", "complete"));
  world.Volume("1").Announces("3");  // without its own marker
  EXPECT_THAT(ScannedOnto(world, "1"), ElementsAre("0", "already there"));
  EXPECT_THAT(ScannedOnto(world, "1", /*software_management=*/true),
              ElementsAre("1", "already there", "complete"));
  world.Volume("1").Marker(1, "SET-A").Marker(2, "SET-A");  // volume 3 is missing
  EXPECT_THAT(ScannedOnto(world, "1"), ElementsAre("0", "already there"));
  world.Volume("m/1").Announces("2").Marker(1, "SET-A");
  world.Volume("m/2").Marker(2, "SET-A");
  EXPECT_THAT(ScannedOnto(world, "m/1"),
              ElementsAre("2", "already there", world.Path("m/2"), "complete"));
}

TEST(Launcher, AScanEmptiesTheListOnceItTriesTheAmLayout) {
  MediaWorld world;
  world.Volume("am/1/x/1").Announces("2").Marker(1, "SET-A");
  world.Volume("am/1").File("1.txt", "no tag\n");
  EXPECT_THAT(ScannedOnto(world, "am/1/x/1"), ElementsAre("0"));
  world.Volume("am/1").Marker(1, "AM-A");  // without any further volume
  EXPECT_THAT(ScannedOnto(world, "am/1/x/1"), ElementsAre("0"));
  world.Volume("am/2").Marker(2, "AM-A");
  world.Volume("am/2/x/2").Marker(2, "SET-A");
  EXPECT_THAT(ScannedOnto(world, "am/1/x/1"), ElementsAre("2", world.Path("am/2/x/2"), "complete"));
}

TEST(Launcher, RemembersTheInstallerOfAUsableMediaOnly) {
  MediaWorld world;
  world.Volume("usable").Installer();
  PlainLauncher launcher;
  launcher.CommonDirPrefix = "before/";
  launcher.InstallerPath = "before";
  const auto validate = [&](const std::string& media) {
    bool usable = false;
    Catch([&] { usable = launcher.ValidateInstallerMedia(media, /*quiet=*/true); });
    return usable;
  };
  for (const std::string& media : {world.Path("missing"), std::string()}) {
    EXPECT_FALSE(validate(media));
    EXPECT_EQ(launcher.CommonDirPrefix, "before/");
    EXPECT_EQ(launcher.InstallerPath, "before");
  }
  EXPECT_TRUE(validate(world.Path("usable")));
  EXPECT_EQ(launcher.CommonDirPrefix, world.Path("usable/inst/"));
  EXPECT_EQ(launcher.InstallerPath, InstallerOf(world.Path("usable")));
}

TEST(Launcher, EndsWhereAnInstallerMediaHasABlankInItsPath) {
  MediaWorld world;
  world.Volume("a blank").Installer();
  PlainLauncher launcher;
  EXPECT_EXIT(launcher.ValidateInstallerMedia(world.Path("a blank"), /*quiet=*/true),
              testing::ExitedWithCode(12), "");
}

TEST(Launcher, MakesTheInstallersEnvironmentFromItsFields) {
  const Environment before = {{"PATH", "/bin"}};
  const ScopedEnv env(before);
  PlainLauncher launcher;
  launcher.MediaDir = KVLInsIO::InsPath("/m");
  launcher.CommonDirPrefix = "/e/inst/";
  launcher.InteractiveSession = false;
  launcher.SetInstallerEnvironment();
  Environment expected = AfterSetup(before, {.media = "/m", .external = "/e/inst/"});
  expected["KVLIns_IsInteractiveSession"] = "0";
  EXPECT_EQ(EnvChanges(before, CurrentEnvironment()), EnvChanges(before, expected));
}

/// Runs a command and then receives the signal.
Outcome RunTrueAndRaise(int signal, bool wait) {
  return RunIsolated([&] {
    LeaveNoCore();
    ::signal(signal, SIG_DFL);
    PlainLauncher launcher(wait);
    launcher.RunCommand("/bin/true");
    ::raise(signal);
    return 0;
  });
}

TEST(Launcher, LeavesTheKeyboardToTheInstallerOnlyWhenItWaits) {
  for (const int signal : {SIGINT, SIGQUIT}) {
    EXPECT_EQ(RunTrueAndRaise(signal, kWaitForInstaller).status, 0) << signal;
    EXPECT_EQ(RunTrueAndRaise(signal, kWithoutWaiting).status, -signal) << signal;
  }
}

/// Runs the whole Launcher on the media in "1", in a process of its own.
Outcome RunOn(const LaunchWorld& world, bool wait, int (*run)(Launcher&)) {
  return RunIsolated([&] {
    const ScopedEnv env(world.Text(Environment{{"KVL_OS", "linux"},
                                               {"TMPDIR", "{tmp}"},
                                               {"FAKE_REPORT", "{report}"},
                                               {"FAKE_EXIT", "7"}}));
    PlainLauncher launcher(wait);
    launcher.MediaDir = KVLInsIO::InsPath(world.Path("1"));
    return run(launcher);
  });
}

TEST(Launcher, WithoutAProcessSaysTwoErrorsAndHasNoExitCode) {
  LaunchWorld world;
  world.OneVolume();
  const Outcome outcome = RunOn(world, kWaitForInstaller, [](Launcher& launcher) {
    const FailingCall fork(FailingCall::kFork, EAGAIN);
    return launcher.Run() == -1 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, world.Text(says::CannotCreate(CommandOf(StartedFrom("{1}")))));
  EXPECT_FALSE(ReadReport(world.Path("report")).started);
}

/// Somebody guessed the names, or staged at the same clock reading, and was first.
TEST(Launcher, StagesUnderANameAtWhichNothingLies) {
  LaunchWorld world;
  world.VolumeMissing();
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  const auto next = [&] { return "tmp/" + NewIdentifier(generator, kUpperCase); };
  world.Directory().Write(next() + "/inst/linux/code/bin/installer", "of somebody else");
  world.Directory().Link(next(), "nowhere");
  const std::vector<std::string> before = DescribeTree(world.Path("tmp"));
  const std::string staging = world.Path(next());
  const Outcome outcome =
      RunOn(world, kWaitForInstaller, [](Launcher& launcher) { return launcher.Run(); });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.err, says::Missing() + says::Staged());
  EXPECT_EQ(ReadReport(world.Path("report")).arguments, StartedFrom(staging));
  fs::remove_all(staging);
  EXPECT_EQ(DescribeTree(world.Path("tmp")), before);
}

/// Runs `launcher`, which does not wait, and waits until its installer has ended.
int RunWithoutWaiting(Launcher& launcher) {
  int ends[2];
  if (::pipe(ends) != 0) return -1;
  const int status = launcher.Run();  // the installer inherits the writing end
  ::close(ends[1]);
  char nothing;
  while (::read(ends[0], &nothing, 1) > 0) {
  }
  return status;
}

TEST(Launcher, WithoutWaitingReturnsZeroAndWarnsOfNothing) {
  LaunchWorld world;
  world.VolumeMissing();
  const Outcome outcome = RunOn(world, kWithoutWaiting, RunWithoutWaiting);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, says::Missing());
  EXPECT_TRUE(ReadReport(world.Path("report")).started);
  EXPECT_THAT(DescribeTree(world.Path("tmp")), testing::Contains(testing::HasSubstr("remove.bat")));
}

}  // namespace
}  // namespace kvl::test
