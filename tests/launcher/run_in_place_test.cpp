// Whole runs that start the installer in place, because the media is complete or in management.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

constexpr char kOdt[] = "KVLInsAppliODT.exe";

TEST(RunInPlace, PassesOnWhatItDoesNotKnowInOrder) {
  ExpectRuns({
      {"no argument", &LaunchWorld::OneVolume, InPlace()},
      {"-UI changes nothing", &LaunchWorld::OneVolume, InPlace(), WithArguments({"-UI"})},
      {"others", &LaunchWorld::OneVolume,
       InPlace().Passes({"--var", "a=b c", "-x", "-CDpath", "/own", "last"}),
       WithArguments({"--var", "a=b c", "-wait", "-x", "-UI", "-CDpath", "/own", "last"})},
  });
}

TEST(RunInPlace, ReplacesTheCallersVariablesAndKeepsTheirBackups) {
  LaunchWorld world;
  world.OneVolume();
  Environment set_by_caller = InstallerEnvironment(world, {}, {});
  for (const char* left_alone : {"KVLAdmInstVolumePath_2", "KVLSoftwareMgtSingleExec",
                                 "KVLAdmTUIValue_SoftwareMgt_Resume"}) {
    set_by_caller.emplace(left_alone, "");
  }
  for (auto& [name, value] : set_by_caller) value = "the caller's " + name;
  world.Expect(InPlace(), {.env = set_by_caller});
}

TEST(RunInPlace, TheLibraryPathMayBeAnyVariable) {
  LaunchWorld world;
  world.OneVolume();
  for (const char* name :
       {"LD_LIBRARY_PATH", "PATH", "TMPDIR", "ORBInst", "KVL_LIBPATH_VARNAME", "KVL_BAK_PATH",
        "no=name", "KVLAdmInstOriginalMediaDir", "KVLAdmInstMTBDIR"}) {
    SCOPED_TRACE(name);
    world.Expect(InPlace(), WithVariables({{"KVL_LIBPATH_VARNAME", name}}));
  }
}

TEST(RunInPlace, WithoutTMPDIRTheInstallersTEMPIsSlashTmp) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Expect(InPlace(), {.without = {"TMPDIR"}});
  EXPECT_EQ(seen.child.env.at("TEMP"), "/tmp");
}

TEST(RunInPlace, HappensToAnIncompleteMediaInManagementOrOnRequest) {
  const ExpectedRun expected =
      InPlace().Says(Staged().out).Warns(says::Missing()).Finds(Staged().env.found);
  ExpectRuns({
      {"to uninstall", &LaunchWorld::VolumeMissing, expected.Passes({"-x", "--uninst", "-y"}),
       WithArguments({"-x", "--uninst", "-y"})},
      {"to manage", &LaunchWorld::VolumeMissing, expected.Passes({"-x", "--mgt", "-y"}),
       WithArguments({"-x", "--mgt", "-y"})},
      {"on request", &LaunchWorld::VolumeMissing, expected,
       WithVariables({{"KVLAdmInstDontCopyInstaller", "0"}})},
  });
}

/// The expected run of the ODT installer of that media.
ExpectedRun OdtIn(const std::string& media) {
  const std::string installer = media + "/inst/linux/code/bin/" + kOdt;
  return {.out = says::FoundInCurrentMedia(installer),
          .arguments = {installer, "-CDpath", media},
          .env = {.media = media}};
}

void OdtInTwoMedia(LaunchWorld& world) {
  for (const char* media : {"1", "other"}) world.Volume(media).Installer().Installer("linux", kOdt);
}

TEST(RunInPlace, OdtStartsItsOwnInstallerFromTheMediaNamedSoFar) {
  const Environment other = {{"CurrentMediaDir", "{other}"}};
  const std::string setting = "CurrentMediaDir={other}";
  ExpectRuns({
      {"alone", OdtInTwoMedia, OdtIn("{1}").Passes({"-x"}), WithArguments({"--odt", "-x"})},
      {"named before", OdtInTwoMedia, OdtIn("{other}").Sets(other),
       WithArguments({"-env", setting, "--odt"})},
      {"named behind", OdtInTwoMedia, OdtIn("{1}").Sets(other),
       WithArguments({"--odt", "-env", setting})},
      {"named for another installer", OdtInTwoMedia, InPlace().Sets(other),
       WithArguments({"-env", setting})},
  });
}

TEST(RunInPlace, EnvDoesNotChangeTheInstallersName) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Installer("linux", "other");
  world.Expect(InPlace().Sets({{"KVL_Installer_EXE", "other"}}),
               {.arguments = {"-env", "KVL_Installer_EXE=other"}});
}

TEST(RunInPlace, EnvAffectsEveryVariableThatIsReadLater) {
  LaunchWorld world;
  world.OneVolume();
  const Environment set = {
      {"KVL_OS", "linux"},   {"PATH", "/my/bin"}, {"KVL_LIBPATH_VARNAME", "LIB"}, {"NEW", "1"},
      {"TMPDIR", "/my/tmp"}, {"ORBInst", "mine"}, {"KVLAdmInstDebugEnv", "t"}};
  LaunchPlan plan = {.arguments = {"-env", "NEW"}, .env = {{"KVL_OS", "wrong"}}};
  for (const auto& [name, value] : set) {
    if (name != "NEW") plan.arguments.insert(plan.arguments.end(), {"-env", name + "=" + value});
  }
  world.Expect(InPlace().Sets(set), plan);
}

TEST(RunInPlace, AnEmptyEnvironmentCanBeFilledByOptions) {
  LaunchWorld world;
  OdtInTwoMedia(world);
  const Environment set = {
      {"CurrentMediaDir", "{1}"}, {"KVL_OS", "linux"}, {"FAKE_REPORT", "{report}"}};
  LaunchPlan plan = {.without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE", "TMPDIR", "PATH",
                                 "FAKE_REPORT"}};
  for (const auto& [name, value] : set) {
    plan.arguments.insert(plan.arguments.end(), {"-env", name + "=" + value});
  }
  plan.arguments.push_back("--odt");
  const LaunchSeen seen = world.Expect(OdtIn("{1}").Sets(set), plan);
  EXPECT_EQ(seen.given, Environment{});
  EXPECT_EQ(seen.child.env.at("PATH"), world.Text("{1}/inst/linux/code/bin:"));
}

TEST(RunInPlace, AnEmptyOsNameDoublesASlashInTheEnvironmentOnly) {
  LaunchWorld world;
  world.Volume("1").Installer("");
  const std::string installer = "{1}/inst/code/bin/installer";
  const LaunchSeen seen = world.Expect({.out = says::FoundInCurrentMedia(installer),
                                        .arguments = {installer, "-CDpath", "{1}"},
                                        .env = {.os = ""}},
                                       {.without = {"KVL_OS"}});
  EXPECT_EQ(seen.child.env.at("PATH"), world.Text("{1}/inst//code/bin:/usr/bin:/bin"));
}

/// The expected run in software management of the media in "m/x/1", with these arguments of the
/// installer.
void ExpectManagement(const std::vector<std::string>& given,
                      const std::vector<std::string>& received,
                      const std::string& number_of_volumes = "3") {
  SCOPED_TRACE(testing::PrintToString(given));
  LaunchWorld world;
  world.Volume("m/x/1").Installer().Announces(number_of_volumes).Marker(1, "SET-A");
  const ExpectedRun expected = {.out = SaysFoundIn("{m/x/1}"),
                                .arguments = {InstallerOf("{m/x/1}")},
                                .env = {.media = "{m/x/1}", .software_management = true}};
  world.Expect(expected.Passes(received), {.arguments = given}, "m/x/1");
}

TEST(RunSoftwareManagement, TellsActionAndGrandparentAndScansNothing) {
  const auto told = [](const std::string& action) -> std::vector<std::string> {
    return {"--mgt", "{m}", "--var", "Radio_KVLSoftwareMgtCheck?" + action + "=true"};
  };
  ExpectManagement({"-SoftMgt", "-List"}, told("List"));
  ExpectManagement({"-SoftMgt", "-Check"}, told("Check1"));
  ExpectManagement({"-SoftMgt", "-Commit"}, told("Commit"));
  ExpectManagement({"-SoftMgt", "-Rollback"}, told("Rollback"));
  ExpectManagement({"-List", "-SoftMgt", "-Commit"}, told("Commit"));
  ExpectManagement({"-SoftMgt", "-List"}, told("List"), "not a number");
}

TEST(RunSoftwareManagement, PutsUserArgumentsFirstAndRepeatsMgt) {
  ExpectManagement(
      {"-x", "--mgt", "-SoftMgt", "y", "-List"},
      {"-x", "--mgt", "y", "--mgt", "{m}", "--var", "Radio_KVLSoftwareMgtCheck?List=true"});
}

TEST(RunSoftwareManagement, AnEmptyGrandparentVanishes) {
  LaunchWorld world;
  world.OneVolume();
  world.Expect(
      {.out = SaysFoundIn("1"),
       .arguments = {InstallerOf("1"), "--mgt", "--var", "Radio_KVLSoftwareMgtCheck?List=true"},
       .env = {.media = "1", .software_management = true}},
      {.arguments = {"-SoftMgt", "-List"}, .env = {{"CurrentMediaDir", "1"}}, .directory = "{}"});
}

}  // namespace
}  // namespace kvl::test
