#include "launcher/launcher.h"

#include "tests/launcher/expected_environment.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/generator_twin.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr bool kWithoutWaiting = false;

/// A Launcher without arguments; its fields are set by the test.
class PlainLauncher : public Launcher {
 public:
  explicit PlainLauncher(bool wait = kWaitForInstaller)
      : Launcher(0, nullptr, "installer", kWithoutUI, wait) {}
};

void InMedia(Launcher& launcher, const std::string& media) {
  launcher.MediaDir = KVLInsIO::InsPath(media);
  launcher.OsName = "linux";
}

TEST(Launcher, SendsAContinuationWhereTheLastLevelledMessageWent) {
  const Outcome said = Catch([] {
    PlainLauncher launcher;
    launcher.Message("first", 0, true);
    launcher.Message("error", 3, true);
    launcher.Message("after the error", 0, true);
    launcher.Message("information", 1, false);
    launcher.Message("after the information", 0, false);
    launcher.Message("warning", 2, true);
    launcher.Message("after the warning", 0, true);
  });
  EXPECT_EQ(said.out,
            "       first\n INFO: information\n"
            "       after the information\n");
  EXPECT_EQ(said.err,
            "ERROR: error\n       after the error\n"
            " WARN: warning\n       after the warning\n");
}

TEST(Launcher, RemembersTheStreamForItselfAlone) {
  const Outcome said = Catch([] {
    PlainLauncher one, other;
    one.Message("error", 3, true);
    other.Message("first", 0, true);
  });
  EXPECT_EQ(said.out, "       first\n");
  EXPECT_EQ(said.err, "ERROR: error\n");
}

TEST(Launcher, PutsTheCallersSignalSettingsBackInTheEnd) {
  const auto handlers = [] {
    std::vector<sighandler_t> all;
    for (const int number : {SIGPIPE, SIGXFSZ, SIGCHLD, SIGINT, SIGQUIT}) {
      struct sigaction action;
      ::sigaction(number, nullptr, &action);
      all.push_back(action.sa_handler);
    }
    return all;
  };
  const auto before = handlers();
  { const PlainLauncher launcher; }
  EXPECT_EQ(handlers(), before);
}

/// Scans the media with a list that holds something already: its code, and then the list.
std::vector<std::string> ScannedOnto(Launcher& launcher, const std::string& media) {
  const ScopedEnv env;
  InMedia(launcher, media);
  std::vector<std::string> volumes = {"already there"};
  int code = -1;
  Catch([&] { code = launcher.ScanMediaVolumes(volumes); });
  volumes.insert(volumes.begin(), std::to_string(code));
  return volumes;
}

TEST(Launcher, AScanAppendsTheVolumesAndNotesThatTheMediaIsComplete) {
  MediaWorld world;
  world.Volume("1").Announces("2").Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
  PlainLauncher launcher;
  EXPECT_THAT(ScannedOnto(launcher, world.Path("1")),
              ElementsAre("2", "already there", world.Path("2")));
  EXPECT_TRUE(launcher.ManagementMode);
}

TEST(Launcher, AScanThatEndsBeforeTheAmLayoutLeavesTheListAsItWas) {
  MediaWorld world;
  PlainLauncher launcher;
  world.Volume("1");
  EXPECT_THAT(ScannedOnto(launcher, world.Path("1")), ElementsAre("1", "already there"));
  world.Volume("1").Announces("3");  // without its own marker
  EXPECT_THAT(ScannedOnto(launcher, world.Path("1")), ElementsAre("0", "already there"));
  world.Volume("1").Marker(1, "SET-A").Marker(2, "SET-A");  // one is missing
  EXPECT_THAT(ScannedOnto(launcher, world.Path("1")), ElementsAre("0", "already there"));
}

TEST(Launcher, AScanEmptiesTheListOnceItTriesTheAmLayout) {
  MediaWorld world;
  world.Volume("am/1/x/1").Announces("3").Marker(1, "SET-A");
  PlainLauncher launcher;
  world.Volume("am/1").File("1.txt", "no tag\n");
  EXPECT_THAT(ScannedOnto(launcher, world.Path("am/1/x/1")), ElementsAre("0"));
  world.Volume("am/1").Marker(1, "AM-A");  // without any further volume
  EXPECT_THAT(ScannedOnto(launcher, world.Path("am/1/x/1")), ElementsAre("0"));
  for (const int number : {2, 3}) {
    const std::string am = "am/" + std::to_string(number);
    world.Volume(am).Marker(number, "AM-A");
    world.Volume(am + "/x/" + std::to_string(number)).Marker(number, "SET-A");
  }
  EXPECT_THAT(ScannedOnto(launcher, world.Path("am/1/x/1")),
              ElementsAre("3", world.Path("am/2/x/2"), world.Path("am/3/x/3")));
}

TEST(Launcher, AFailedScanLeavesManagementModeAsItWas) {
  for (const bool mode : {false, true}) {
    MediaWorld world;
    world.Volume("1").Announces("2");
    const ScopedEnv env;
    PlainLauncher launcher;
    InMedia(launcher, world.Path("1"));
    launcher.ManagementMode = mode;
    std::vector<std::string> volumes;
    int code = -1;
    Catch([&] { code = launcher.ScanMediaVolumes(volumes); });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(launcher.ManagementMode, mode);
  }
}

TEST(Launcher, InSoftwareManagementTheScanLooksForNoVolumes) {
  MediaWorld world;
  world.Volume("1").Announces("2");
  const ScopedEnv env;
  PlainLauncher launcher;
  InMedia(launcher, world.Path("1"));
  launcher.SoftMgt = true;
  std::vector<std::string> volumes;
  EXPECT_EQ(launcher.ScanMediaVolumes(volumes), 1);
  EXPECT_TRUE(launcher.ManagementMode);
}

TEST(Launcher, RemembersTheInstallerOfAUsableMedia) {
  MediaWorld world;
  world.Volume("ext").Installer();
  PlainLauncher launcher;
  launcher.OsName = "linux";
  bool usable = false;
  Catch([&] { usable = launcher.ValidateInstallerMedia(world.Path("ext"), /*quiet=*/false); });
  EXPECT_TRUE(usable);
  EXPECT_EQ(launcher.CommonDirPrefix, world.Path("ext/inst/"));
  EXPECT_EQ(launcher.InstallerPath, world.Path("ext/inst/linux/code/bin/installer"));
}

TEST(Launcher, IsUnchangedByAMediaThatIsNotUsable) {
  MediaWorld world;
  world.Volume("ext");
  PlainLauncher launcher;
  launcher.CommonDirPrefix = "before/";
  launcher.InstallerPath = "before";
  for (const std::string& media : {world.Path("ext"), std::string()}) {
    bool usable = true;
    Catch([&] { usable = launcher.ValidateInstallerMedia(media, /*quiet=*/true); });
    EXPECT_FALSE(usable);
    EXPECT_EQ(launcher.CommonDirPrefix, "before/");
    EXPECT_EQ(launcher.InstallerPath, "before");
  }
}

TEST(Launcher, ABlankInAnInstallerMediaEndsTheProcessWithStatus12) {
  MediaWorld world;
  world.Volume("an ext").Installer();
  const Outcome outcome = RunIsolated([&] {
    PlainLauncher launcher;
    launcher.OsName = "linux";
    launcher.ValidateInstallerMedia(world.Path("an ext"), /*quiet=*/true);
    return 0;
  });
  EXPECT_EQ(outcome.status, 12);
  EXPECT_EQ(outcome.err,
            "ERROR: The directory of the installer contains space characters.\n"
            "       Please copy the Installer media into a directory that does not contain space "
            "characters\n"
            "       and run the installer again.\n");
}

TEST(Launcher, MakesTheInstallersEnvironmentFromItsFields) {
  const Environment before = {{"PATH", "/bin"}};
  const ScopedEnv env(before);
  PlainLauncher launcher;
  InMedia(launcher, "/m");
  launcher.CommonDirPrefix = "/e/inst/";
  launcher.SetInstallerEnvironment();
  const Prepared from = {.media = "/m", .external = "/e/inst/"};
  EXPECT_EQ(EnvChanges(before, CurrentEnvironment()), EnvChanges(before, AfterSetup(before, from)));
}

TEST(Launcher, TellsTheInstallerOfASessionThatIsNotInteractive) {
  const ScopedEnv env;
  PlainLauncher launcher;
  launcher.InteractiveSession = false;
  launcher.SetInstallerEnvironment();
  EXPECT_EQ(CurrentEnvironment().at("KVLIns_IsInteractiveSession"), "0");
}

TEST(Launcher, RunsACommandToItsEnd) {
  const ScopedEnv env(Environment{{"PATH", "/usr/bin:/bin"}});
  PlainLauncher launcher;
  EXPECT_EQ(launcher.RunCommand("sh -c 'exit 7'"), 7);
}

/// Runs a command and then gets the signal.
Outcome RunTrueAndRaise(int signal, bool wait) {
  return RunIsolated([&] {
    const rlimit no_core_file = {0, 0};
    ::setrlimit(RLIMIT_CORE, &no_core_file);
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

/// A whole run on the media in "1" in a process of its own.
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

TEST(Launcher, WithoutAProcessForTheInstallerThereAreTwoErrorsAndNoExitCode) {
  LaunchWorld world;
  world.OneVolume();
  const Outcome outcome = RunOn(world, kWaitForInstaller, [](Launcher& launcher) {
    const FailingCall fork(FailingCall::kFork, EAGAIN);
    return launcher.Run() == -1 ? 0 : 1;
  });
  const std::string command = "\"{1}/inst/linux/code/bin/installer\" \"-CDpath\" \"{1}\"\n";
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, world.Text("ERROR: Cannot create process " + command +
                                    "ERROR: Cannot wait for process " + command));
  EXPECT_FALSE(ReadReport(world.Path("report")).started);
}

/// Whoever guessed the names, or staged at the same reading of the clock, was there first.
TEST(Launcher, StagesUnderANameAtWhichNothingLies) {
  LaunchWorld world;
  world.VolumeMissing();
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  const auto next = [&] { return "tmp/" + NewIdentifier(generator, kUpperCase); };
  world.Directory().Write(next() + "/inst/linux/code/bin/installer", "of somebody else");
  world.Directory().Link(next(), "nowhere");
  const std::vector<std::string> before = DescribeTree(world.Path("tmp"));
  const std::string staging = next();
  const Outcome outcome =
      RunOn(world, kWaitForInstaller, [](Launcher& launcher) { return launcher.Run(); });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.err, std::string(kMissingVolumes) + kStagedWarning);
  EXPECT_THAT(ReadReport(world.Path("report")).arguments,
              ElementsAre(world.Path(staging + "/inst/linux/code/bin/installer"), "-CDpath",
                          world.Path(staging)));
  std::filesystem::remove_all(world.Path(staging));
  EXPECT_EQ(DescribeTree(world.Path("tmp")), before);
}

/// Runs `launcher`, which does not wait, and then waits until its installer has ended.
int RunWithoutWaiting(Launcher& launcher) {
  int ends[2];
  if (::pipe(ends) != 0) return -1;
  const int status = launcher.Run();  // the installer inherits the end to write to
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
  EXPECT_EQ(outcome.err, kMissingVolumes);
  EXPECT_TRUE(ReadReport(world.Path("report")).started);
  EXPECT_THAT(DescribeTree(world.Path("tmp")), testing::Contains(testing::HasSubstr("remove.bat")));
}

}  // namespace
}  // namespace kvl::test
