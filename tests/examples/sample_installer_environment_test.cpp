// What the sample installer shows of its arguments and variables: what the launcher gives to it.

#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The variables shown of an installer that was started from a media, in place or staged, when
/// nothing but PATH and TMPDIR was set before and nothing was found out about volumes.
Environment ShownFor(const std::string& media) {
  const std::string inst = media + "/inst", linux = inst + "/linux", common = inst + "/common";
  const std::string graphic = "/resources/graphic", catalogue = "/resources/msgcatalog";
  return {
      {"KVLAdmInstAMRelativePath", ""},
      {"KVLAdmInstCurrentMediaDir", media},
      {"KVLAdmInstDebugAction", "f"},
      {"KVLAdmInstDebugEnv", "f"},
      {"KVLAdmInstDebugError", "1"},
      {"KVLAdmInstDebugEverything", "1"},
      {"KVLAdmInstDebugIndexes", "f"},
      {"KVLAdmInstDebugSummary", "f"},
      {"KVLAdmInstFirstAMPath", ""},
      {"KVLAdmInstFirstAMVolume", ""},
      {"KVLAdmInstMTBDIR", ""},
      {"KVLAdmInstOriginalMediaDir", ""},
      {"KVLAdmInstVolumesCount", ""},
      {"KVLIns_HasElevatedPrivileges", ::getuid() == 0 ? "1" : "0"},
      {"KVLIns_IsInteractiveSession", "1"},
      {"KVLSysIRManagementActivation", "NO"},
      {"KVL_BAK_LD_LIBRARY_PATH", "KVL_BAK="},
      {"KVL_BAK_ORBDictionaryPath", "KVL_BAK="},
      {"KVL_BAK_ORBGraphicPath", "KVL_BAK="},
      {"KVL_BAK_ORBInst", "KVL_BAK="},
      {"KVL_BAK_ORBInstallPath", "KVL_BAK="},
      {"KVL_BAK_ORBInstaller", "KVL_BAK="},
      {"KVL_BAK_ORBMsgCatalogPath", "KVL_BAK="},
      {"KVL_BAK_ORBReffilesPath", "KVL_BAK="},
      {"KVL_BAK_PATH", "KVL_BAK=/usr/bin:/bin"},
      {"KVL_Installer_EXE", "sample-installer"},
      {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"},
      {"KVL_OS", "linux"},
      {"ORBAppBridge", "NO"},
      {"ORBDictionaryPath", linux + "/code/dictionary:" + common + "/code/dictionary"},
      {"ORBGraphicPath", linux + graphic + ":" + common + graphic + ":" + linux + graphic +
                             "/icons:" + common + graphic + "/icons:" + linux + graphic +
                             "/splashscreens:" + common + graphic + "/splashscreens"},
      {"ORBInst", inst},
      {"ORBInstallPath", linux},
      {"ORBInstaller", ""},
      {"ORBMsgCatalogPath", linux + catalogue + ":" + common + catalogue},
      {"ORBReffilesPath", linux + "/reffiles:" + common + "/reffiles"},
      {"ORBTemp", "/tmp"},
      {"PATH", linux + "/code/bin:/usr/bin:/bin"},
      {"TEMP", "{tmp}"},
  };
}

std::string Shown(const std::vector<std::string>& arguments, const Environment& variables) {
  std::string text = "Arguments:\n";
  for (const std::string& argument : arguments) text += "  " + argument + "\n";
  text += "Variables:\n";
  for (const auto& [name, value] : variables) text += "  " + name + "=" + value + "\n";
  return text;
}

TEST(SampleInstallerShows, ItsArgumentsAndEveryVariableOfARunInPlace) {
  SampleWorld world;
  world.Media();
  const Outcome outcome =
      world.Start("media", {"--var", "a b=c  d", "--show-environment", "--var", "", "e"});
  ExpectOutcome(world, outcome,
                {0,
                 FindsInstallerIn("media") + Shown({"-CDpath", "{media}", "--var", "a b=c  d",
                                                    "--show-environment", "--var", "e"},
                                                   ShownFor("{media}")),
                 ""});
}

TEST(SampleInstallerShows, WhereTheFurtherVolumesAre) {
  SampleWorld world;
  world.Media({.volumes = 3});
  const Outcome outcome = world.Start("media/1", {"--show-environment"});
  Environment variables = ShownFor("{media/1}");
  variables["KVLAdmInstVolumesCount"] = "3";
  variables["KVLAdmInstMTBDIR"] = "SAMPLE-1";
  variables["KVLAdmInstVolumePath_2"] = "{media/2}";
  variables["KVLAdmInstVolumePath_3"] = "{media/3}";
  ExpectOutcome(world, outcome,
                {0,
                 FindsInstallerIn("media/1") +
                     " INFO: This media is composed of 3 volumes.\n"
                     "       Volume 1 found in: {media/1}\n"
                     "       Volume 2 found in: {media/2}\n"
                     "       Volume 3 found in: {media/3}\n" +
                     Shown({"-CDpath", "{media/1}", "--show-environment"}, variables),
                 ""});
}

TEST(SampleInstallerShows, WhereAnOuterSetOfVolumesIs) {
  SampleWorld world;
  world.Media({.layout = "am"});
  const Outcome outcome = world.Start("media/1/media/1", {"--show-environment"});
  Environment variables = ShownFor("{media/1/media/1}");
  variables["KVLAdmInstVolumesCount"] = "2";
  variables["KVLAdmInstMTBDIR"] = "SAMPLE-1-AM";
  variables["KVLAdmInstFirstAMVolume"] = "1";
  variables["KVLAdmInstFirstAMPath"] = "{media/1}";
  variables["KVLAdmInstAMRelativePath"] = "media";
  variables["KVLAdmInstVolumePath_2"] = "{media/2/media/2}";
  const std::string shown =
      Shown({"-CDpath", "{media/1/media/1}", "--show-environment"}, variables);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.out.ends_with(world.Text(shown))) << outcome.out;
}

TEST(SampleInstallerShows, TheStagedCopyAndTheOriginalMedia) {
  SampleWorld world;
  world.Media({.volumes = 3});
  fs::remove_all(world.Path("media/2"));
  const Outcome outcome = world.Start("media/1", {"--show-environment"});
  Environment variables = ShownFor("<staging>");
  variables["KVLAdmInstOriginalMediaDir"] = "{media/1}";
  variables["KVLAdmInstVolumesCount"] = "3";
  variables["KVLAdmInstMTBDIR"] = "SAMPLE-1";
  ExpectOutcome(world, {outcome.status, world.WithoutStaging(outcome.out), outcome.err},
                {0,
                 FindsInstallerIn("media/1") +
                     " INFO: This media is composed of 3 volumes.\n"
                     "       Volume 1 found in: {media/1}\n"
                     "       Volume 3 found in: {media/3}\n" +
                     Shown({"-CDpath", "<staging>", "--show-environment"}, variables),
                 says::Missing() + says::Staged()});
}

TEST(SampleInstallerShows, WhatSoftwareManagementIsGiven) {
  struct Row {
    std::string option, action;
  };
  SampleWorld world;
  world.Media({.directory = "the suite/media/1"});
  for (const Row& row : {Row{"-List", "List"}, Row{"-Check", "Check1"}, Row{"-Commit", "Commit"},
                         Row{"-Rollback", "Rollback"}}) {
    SCOPED_TRACE(row.option);
    const Outcome outcome =
        world.Start("the suite/media/1", {"--show-environment", "-SoftMgt", row.option});
    Environment variables = ShownFor("{the suite/media/1}");
    variables["KVLSoftwareMgtSingleExec"] = "1";
    variables["KVLAdmTUIValue_SoftwareMgt_Resume"] = "!r";
    const std::string shown = Shown({"--show-environment", "--mgt", "{the suite}", "--var",
                                     "Radio_KVLSoftwareMgtCheck?" + row.action + "=true"},
                                    variables);
    const bool list = row.option == "-List";
    ExpectOutcome(world, outcome,
                  {list ? 0 : 7,
                   FindsInstallerIn("the suite/media/1") + shown +
                       (list ? "Nothing is installed in: {the suite}\n" : ""),
                   list ? "" : "sample-installer: nothing is installed in: {the suite}\n"});
  }
}

TEST(SampleInstallerShows, OldValuesInTheBackupsLineFeedsAsTextAndThenItGoesOn) {
  SampleWorld world;
  world.Media();
  const Outcome outcome = world.Start("media", {"--show-environment", "--target", "{target}"},
                                      {.env = {{"ORBInst", "two\nlines\\n & more"},
                                               {"LD_LIBRARY_PATH", "/old/lib"},
                                               {"KVL_own", "&\n"},
                                               {"another", "not shown"}}});
  Environment variables = ShownFor("{media}");
  variables["KVL_BAK_ORBInst"] = "KVL_BAK=two\\nlines\\n & more";
  variables["KVL_BAK_LD_LIBRARY_PATH"] = "KVL_BAK=/old/lib";
  variables["KVL_own"] = "&\\n";
  ExpectOutcome(
      world, outcome,
      {0,
       FindsInstallerIn("media") +
           Shown({"-CDpath", "{media}", "--show-environment", "--target", "{target}"}, variables) +
           "Sample Suite: installing 1 volume(s) of SAMPLE-1 into: {target}\n"
           "Volume 1: installed 3 files from: {media}\n"
           "Installed 3 files. Everything is in place.\n",
       ""});
}

}  // namespace
}  // namespace kvl::test
