// Whole runs of a media that is complete: the installer is started where it is.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(RunInPlace, StartsTheInstallerOfAMediaWithoutVolumes) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run();
  ExpectRun(world, seen,
            {.out = " INFO: {1}/inst/linux/code/bin/installer\n"
                    " INFO: Installer found in current media: "
                    "\"{1}/inst/linux/code/bin/installer\".\n",
             .arguments = {"{1}/inst/linux/code/bin/installer", "-CDpath", "{1}"}});
}

TEST(RunInPlace, GivesTheInstallerThisEnvironment) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run(
      {.env = {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}, {"LD_LIBRARY_PATH", "/old/lib"}}});
  const std::string graphic = "/resources/graphic", linux = "{1}/inst/linux",
                    common = "{1}/inst/common";
  EXPECT_EQ(
      EnvChanges(seen.given, seen.child.env),
      world.Text(Environment{
          {"KVLAdmInstVolumesCount", ""},
          {"KVLAdmInstMTBDIR", ""},
          {"KVLAdmInstFirstAMVolume", ""},
          {"KVLAdmInstFirstAMPath", ""},
          {"KVLAdmInstAMRelativePath", ""},
          {"KVLAdmInstOriginalMediaDir", ""},
          {"KVLAdmInstCurrentMediaDir", "{1}"},
          {"ORBInst", "{1}/inst"},
          {"KVL_BAK_ORBInst", "KVL_BAK="},
          {"ORBInstaller", ""},
          {"KVL_BAK_ORBInstaller", "KVL_BAK="},
          {"ORBInstallPath", "{1}/inst/linux"},
          {"KVL_BAK_ORBInstallPath", "KVL_BAK="},
          {"ORBDictionaryPath", linux + "/code/dictionary:" + common + "/code/dictionary"},
          {"KVL_BAK_ORBDictionaryPath", "KVL_BAK="},
          {"ORBReffilesPath", linux + "/reffiles:" + common + "/reffiles"},
          {"KVL_BAK_ORBReffilesPath", "KVL_BAK="},
          {"ORBGraphicPath", linux + graphic + ":" + common + graphic + ":" + linux + graphic +
                                 "/icons:" + common + graphic + "/icons:" + linux + graphic +
                                 "/splashscreens:" + common + graphic + "/splashscreens"},
          {"KVL_BAK_ORBGraphicPath", "KVL_BAK="},
          {"ORBMsgCatalogPath",
           linux + "/resources/msgcatalog:" + common + "/resources/msgcatalog"},
          {"KVL_BAK_ORBMsgCatalogPath", "KVL_BAK="},
          {"PATH", "{1}/inst/linux/code/bin:/usr/bin:/bin"},
          {"KVL_BAK_PATH", "KVL_BAK=/usr/bin:/bin"},
          {"KVLSysIRManagementActivation", "NO"},
          {"ORBAppBridge", "NO"},
          {"KVLAdmInstDebugEnv", "f"},
          {"KVLAdmInstDebugSummary", "f"},
          {"KVLAdmInstDebugIndexes", "f"},
          {"KVLAdmInstDebugAction", "f"},
          {"KVLAdmInstDebugError", "1"},
          {"KVLAdmInstDebugEverything", "1"},
          {"LD_LIBRARY_PATH", linux + "/code/bin:" + common + "/code/bin"},
          {"KVL_BAK_LD_LIBRARY_PATH", "KVL_BAK=/old/lib"},
          {"TEMP", "{tmp}"},
          {"ORBTemp", "/tmp"},
          {"KVLIns_HasElevatedPrivileges", ::getuid() == 0 ? "1" : "0"},
          {"KVLIns_IsInteractiveSession", "1"},
          {"PANELV2ODOTOP", ""},
      }));
}

TEST(RunInPlace, ReplacesTheCallersValuesAndKeepsThemWhereABackupIsMade) {
  LaunchWorld world;
  world.OneVolume();
  Environment set_by_caller = InstallerEnvironment(world, {}, {});
  for (const char* left_alone : {"KVLAdmInstVolumePath_2", "KVLSoftwareMgtSingleExec",
                                 "KVLAdmTUIValue_SoftwareMgt_Resume"}) {
    set_by_caller.emplace(left_alone, "");
  }
  for (auto& [name, value] : set_by_caller) value = "the caller's " + name;
  ExpectRun(world, world.Run({.env = set_by_caller}), InPlace());
}

TEST(RunInPlace, TheLibraryPathMayBeAnyVariable) {
  for (const char* name : {"PATH", "TMPDIR", "ORBInst", "KVL_LIBPATH_VARNAME", "KVL_BAK_PATH"}) {
    SCOPED_TRACE(name);
    LaunchWorld world;
    world.OneVolume();
    ExpectRun(world, world.Run({.env = {{"KVL_LIBPATH_VARNAME", name}}}), InPlace());
  }
}

TEST(RunInPlace, ALibraryPathThatIsNoVariablesNameIsPassedOver) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.env = {{"KVL_LIBPATH_VARNAME", "A=B"}}});
  ExpectRun(world, seen, InPlace());
}

TEST(RunInPlace, WithoutTMPDIRTheInstallersTEMPIsSlashTmp) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.without = {"TMPDIR"}});
  ExpectRun(world, seen, InPlace());
  EXPECT_EQ(seen.child.env.at("TEMP"), "/tmp");
}

TEST(RunInPlace, PassesUnknownArgumentsOnInOrder) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen =
      world.Run({.arguments = {"--var", "a=b c", "-wait", "-x", "-UI", "-CDpath", "/own", "last"}});
  ExpectedRun expected = InPlace();
  expected.arguments = StartedFrom("{1}", {"--var", "a=b c", "-x", "-CDpath", "/own", "last"});
  ExpectRun(world, seen, expected);
}

TEST(RunInPlace, UIChangesNothing) {
  LaunchWorld world;
  world.OneVolume();
  ExpectRun(world, world.Run({.arguments = {"-UI"}}), InPlace());
}

TEST(RunInPlace, ManagementModesAreNeverStaged) {
  for (const std::string mode : {"--uninst", "--mgt"}) {
    SCOPED_TRACE(mode);
    LaunchWorld world;
    world.VolumeMissing();
    const LaunchSeen seen = world.Run({.arguments = {"-x", mode, "-y"}});
    ExpectedRun expected = InPlace();
    expected.out = Staged().out;
    expected.err = kMissingVolumes;
    expected.arguments = StartedFrom("{1}", {"-x", mode, "-y"});
    expected.env.found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}};
    ExpectRun(world, seen, expected);
  }
}

TEST(RunInPlace, OnRequestEvenWhenVolumesAreMissing) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.env = {{"KVLAdmInstDontCopyInstaller", "0"}}});
  ExpectedRun expected = InPlace();
  expected.out = Staged().out;
  expected.err = kMissingVolumes;
  expected.env.found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}};
  ExpectRun(world, seen, expected);
}

TEST(RunInPlace, OdtStartsItsOwnInstaller) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Installer("linux", "KVLInsAppliODT.exe");
  const LaunchSeen seen = world.Run({.arguments = {"--odt", "-x"}});
  ExpectRun(world, seen,
            {.out = " INFO: {1}/inst/linux/code/bin/KVLInsAppliODT.exe\n"
                    " INFO: Installer found in current media: "
                    "\"{1}/inst/linux/code/bin/KVLInsAppliODT.exe\".\n",
             .arguments = {"{1}/inst/linux/code/bin/KVLInsAppliODT.exe", "-CDpath", "{1}", "-x"}});
}

/// What a run of the ODT installer in place is to look like.
ExpectedRun OdtIn(const std::string& media) {
  const std::string installer = media + "/inst/linux/code/bin/KVLInsAppliODT.exe";
  return {.out = " INFO: " + installer + "\n INFO: Installer found in current media: \"" +
                 installer + "\".\n",
          .arguments = {installer, "-CDpath", media},
          .env = {.media = media, .options = {{"CurrentMediaDir", "{other}"}}}};
}

TEST(RunInPlace, EnvChangesTheMediaForALaterOdtOnly) {
  LaunchWorld world;
  for (const char* media : {"1", "other"}) {
    world.Volume(media).Installer().Installer("linux", "KVLInsAppliODT.exe");
  }
  const std::string setting = "CurrentMediaDir={other}";
  ExpectRun(world, world.Run({.arguments = {"-env", setting, "--odt"}}), OdtIn("{other}"));
  ExpectRun(world, world.Run({.arguments = {"--odt", "-env", setting}}), OdtIn("{1}"));

  ExpectedRun without_odt = InPlace();
  without_odt.env.options = {{"CurrentMediaDir", "{other}"}};
  ExpectRun(world, world.Run({.arguments = {"-env", setting}}), without_odt);
}

TEST(RunInPlace, EnvDoesNotChangeTheInstallersName) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Installer("linux", "other");
  ExpectedRun expected = InPlace();
  expected.env.options = {{"KVL_Installer_EXE", "other"}};
  ExpectRun(world, world.Run({.arguments = {"-env", "KVL_Installer_EXE=other"}}), expected);
}

TEST(RunInPlace, EnvIsFollowedByAllThatIsReadLater) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen =
      world.Run({.arguments = {"-env", "KVL_OS=linux", "-env", "PATH=/my/bin", "-env",
                               "KVL_LIBPATH_VARNAME=LIB", "-env", "NEW", "-env", "TMPDIR=/my/tmp",
                               "-env", "ORBInst=mine", "-env", "KVLAdmInstDebugEnv=t"},
                 .env = {{"KVL_OS", "wrong"}}});
  ExpectedRun expected = InPlace();
  expected.env.options = {
      {"KVL_OS", "linux"},   {"PATH", "/my/bin"}, {"KVL_LIBPATH_VARNAME", "LIB"}, {"NEW", "1"},
      {"TMPDIR", "/my/tmp"}, {"ORBInst", "mine"}, {"KVLAdmInstDebugEnv", "t"}};
  ExpectRun(world, seen, expected);
}

TEST(RunInPlace, AnEmptyEnvironmentCanBeFilledByOptions) {
  LaunchWorld world;
  world.Volume("1").Installer("linux", "KVLInsAppliODT.exe");
  const LaunchSeen seen =
      world.Run({.arguments = {"-env", "CurrentMediaDir={1}", "-env", "KVL_OS=linux", "-env",
                               "FAKE_REPORT={report}", "--odt"},
                 .without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE", "TMPDIR", "PATH",
                             "FAKE_REPORT"}});
  EXPECT_EQ(seen.given, Environment{});
  ExpectedRun expected = OdtIn("{1}");
  expected.env.options = {
      {"CurrentMediaDir", "{1}"}, {"KVL_OS", "linux"}, {"FAKE_REPORT", "{report}"}};
  ExpectRun(world, seen, expected);
  EXPECT_EQ(seen.child.env.at("PATH"), world.Text("{1}/inst/linux/code/bin:"));
}

TEST(RunInPlace, AnEmptyOsNameIsJoinedInTheCandidateAndConcatenatedInTheEnvironment) {
  LaunchWorld world;
  world.Volume("1").Installer("");
  const LaunchSeen seen = world.Run({.without = {"KVL_OS"}});
  ExpectRun(world, seen,
            {.out = " INFO: {1}/inst/code/bin/installer\n"
                    " INFO: Installer found in current media: \"{1}/inst/code/bin/installer\".\n",
             .arguments = {"{1}/inst/code/bin/installer", "-CDpath", "{1}"},
             .env = {.os = ""}});
  EXPECT_EQ(seen.child.env.at("PATH"), world.Text("{1}/inst//code/bin:/usr/bin:/bin"));
}

}  // namespace
}  // namespace kvl::test
