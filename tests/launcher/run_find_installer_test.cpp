// Whole runs: where the installer is looked for, and in which order.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

const std::string kByOption = "-installerPath", kByVariable = "KVL_ZOLVEN_Installer";

constexpr char kNotFound[] =
    "ERROR: The installer is not found, please read the file \"ReadMe_UNIX.txt\".\n";

constexpr char kBlank[] =
    "ERROR: The directory of the installer contains space characters.\n"
    "       Please copy the Installer media into a directory that does not contain space "
    "characters\n"
    "       and run the installer again.\n";

std::string SaysOption(const std::string& value) {
  return " INFO: Argument \"-installerPath\" found and its value is \"" + value + "\".\n";
}

std::string SaysVariable(const std::string& value) {
  return " INFO: Environment variable KVL_ZOLVEN_Installer is defined and its value is \"" + value +
         "\".\n";
}

/// `media_slash` ends in "/".
std::string SaysNotBelow1(const std::string& media_slash) {
  return " INFO: Installer executable \"" + media_slash +
         "1/inst/linux/code/bin/installer\" does not exist, trying without sub dir \"1\"\n";
}

std::string SaysInvalid(const std::string& media_slash) {
  return SaysNotBelow1(media_slash) + " INFO: Invalid Installer media, \"" + media_slash +
         "inst/linux/code/bin/installer\" does not exist\n";
}

std::string SaysUsable(const std::string& root) {
  return " INFO: Installer Media: \"" + InstallerOf(root) + "\"\n";
}

/// A run in place of the media {1} with the installer of the media root `root`.
ExpectedRun StartedByExternal(const std::string& root, const std::string& out) {
  return {.out = out,
          .arguments = {InstallerOf(root), "-CDpath", "{1}"},
          .env = {.external = root + "/inst/"}};
}

/// A run that ends before anything is started.
ExpectedRun Ended(int status, const std::string& out, const std::string& err) {
  return {.status = status, .out = out, .err = err};
}

TEST(RunFindInstaller, WithoutAnyInstallerIsAnErrorAndStatus1) {
  LaunchWorld world;
  world.Volume("1");
  ExpectRun(world, world.Run(), Ended(1, SaysNoneIn("{1}"), kNotFound));
}

TEST(RunFindInstaller, AnythingAtTheCandidatesPlaceIsTheInstaller) {
  for (const bool is_directory : {true, false}) {
    LaunchWorld world;
    if (is_directory) {
      world.Volume("1").Dir("inst/linux/code/bin/installer");
    } else {
      SetMode(world.Directory().Write("1/inst/linux/code/bin/installer", "no program"), 0);
    }
    const std::string command = "\"{1}/inst/linux/code/bin/installer\" \"-CDpath\" \"{1}\"";
    ExpectRun(world, world.Run(), Ended(255, SaysFoundIn("{1}"), SaysCannotWait(command)));
  }
}

TEST(RunFindInstaller, WithoutTheInstallersNameTheBinDirectoryIsFoundAndCannotBeRun) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.without = {"KVL_Installer_EXE"}});
  ExpectRun(world, seen,
            Ended(255,
                  " INFO: {1}/inst/linux/code/bin\n"
                  " INFO: Installer found in current media: \"{1}/inst/linux/code/bin\".\n",
                  SaysCannotWait("\"{1}/inst/linux/code/bin\" \"-CDpath\" \"{1}\"")));
}

TEST(RunFindInstaller, ADanglingLinkIsNoInstaller) {
  LaunchWorld world;
  world.Volume("1").Link("inst/linux/code/bin/installer", "{nowhere}");
  ExpectRun(world, world.Run(), Ended(1, SaysNoneIn("{1}"), kNotFound));
}

TEST(RunFindInstaller, ByOptionInTheInstallerMediaItself) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext").Installer();
  const LaunchSeen seen = world.Run({.arguments = {kByOption, "{ext}"}});
  ExpectRun(world, seen,
            StartedByExternal("{ext}", SaysNoneIn("{1}") + SaysOption("{ext}") +
                                           SaysNotBelow1("{ext}/") + SaysUsable("{ext}")));
}

TEST(RunFindInstaller, ByOptionInTheSubDirectory1) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Run({.arguments = {kByOption, "{ext}"}});
  ExpectRun(world, seen,
            StartedByExternal("{ext/1}",
                              SaysNoneIn("{1}") + SaysOption("{ext}") + SaysUsable("{ext}/1")));
}

TEST(RunFindInstaller, TheSubDirectory1IsPreferred) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext").Installer();
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Run({.arguments = {kByOption, "{ext}/"}});
  ExpectRun(world, seen,
            StartedByExternal("{ext/1}",
                              SaysNoneIn("{1}") + SaysOption("{ext}/") + SaysUsable("{ext}/1")));
}

TEST(RunFindInstaller, ByVariableInTheInstallerMediaItself) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext").Installer();
  const LaunchSeen seen = world.Run({.env = {{kByVariable, "{ext}/"}}});
  ExpectRun(world, seen,
            StartedByExternal("{ext}", SaysNoneIn("{1}") + SaysVariable("{ext}/") +
                                           SaysNotBelow1("{ext}/") + SaysUsable("{ext}")));
}

TEST(RunFindInstaller, ByVariableInTheSubDirectory1) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Run({.env = {{kByVariable, "{ext}"}}});
  ExpectRun(world, seen,
            StartedByExternal("{ext/1}",
                              SaysNoneIn("{1}") + SaysVariable("{ext}") + SaysUsable("{ext}/1")));
}

TEST(RunFindInstaller, TheVariableMayBeSetByAnOption) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Run({.arguments = {"-env", kByVariable + "={ext}"}});
  ExpectedRun expected = StartedByExternal(
      "{ext/1}", SaysNoneIn("{1}") + SaysVariable("{ext}") + SaysUsable("{ext}/1"));
  expected.env.options = {{kByVariable, "{ext}"}};
  ExpectRun(world, seen, expected);
}

TEST(RunFindInstaller, ExternalPathListsNameTheMediaFirstAndThenTheExternalMedia) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Run({.arguments = {kByOption, "{ext}"}});
  EXPECT_EQ(seen.child.env.at("ORBInstaller"), world.Text("{ext}/1/inst/"));
  EXPECT_EQ(seen.child.env.at("ORBDictionaryPath"),
            world.Text("{1}/inst/linux/code/dictionary:{1}/inst/common/code/dictionary:"
                       "{ext}/1/inst/linux/code/dictionary:{ext}/1/inst/common/code/dictionary"));
}

TEST(RunFindInstaller, TheOptionWinsAndTheVariableIsNotRead) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext/1").Installer();
  world.Volume("other/1").Installer();
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{ext}"}, .env = {{kByVariable, "{other}"}}});
  ExpectRun(world, seen,
            StartedByExternal("{ext/1}",
                              SaysNoneIn("{1}") + SaysOption("{ext}") + SaysUsable("{ext}/1")));
}

TEST(RunFindInstaller, TheVariableIsTriedWhenTheOptionIsInvalid) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext");
  world.Volume("other/1").Installer();
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{ext}"}, .env = {{kByVariable, "{other}"}}});
  ExpectRun(world, seen,
            StartedByExternal("{other/1}", SaysNoneIn("{1}") + SaysOption("{ext}") +
                                               SaysInvalid("{ext}/") + SaysVariable("{other}") +
                                               SaysUsable("{other}/1")));
}

TEST(RunFindInstaller, WithTwoInvalidMediaIsAnErrorAndStatus1) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext");
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{ext}"}, .env = {{kByVariable, "{missing}"}}});
  ExpectRun(world, seen,
            Ended(1,
                  SaysNoneIn("{1}") + SaysOption("{ext}") + SaysInvalid("{ext}/") +
                      SaysVariable("{missing}") + SaysInvalid("{missing}/"),
                  kNotFound));
}

TEST(RunFindInstaller, EmptyValuesNameNoMedia) {
  LaunchWorld world;
  world.Volume("1");
  const LaunchSeen seen = world.Run({.arguments = {kByOption, ""}, .env = {{kByVariable, ""}}});
  ExpectRun(world, seen, Ended(1, SaysNoneIn("{1}"), kNotFound));
}

TEST(RunFindInstaller, AnExternalMediaIsNotLookedAtWhenTheMediaHasAnInstaller) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{a b}"}, .env = {{kByVariable, "{a b}"}}});
  ExpectRun(world, seen, InPlace());
}

TEST(RunFindInstaller, ABlankInTheExternalMediasDirectoryIsAnErrorAndStatus12) {
  for (const std::string ext : {"my ext", "my/e xt/1", "a/ /b"}) {
    SCOPED_TRACE(ext);
    LaunchWorld world;
    world.Volume("1");
    world.Volume(ext).Installer();
    const LaunchSeen by_option = world.Run({.arguments = {kByOption, "{" + ext + "}"}});
    const std::string tried = SaysNotBelow1("{" + ext + "}/");
    ExpectRun(world, by_option,
              Ended(12, SaysNoneIn("{1}") + SaysOption("{" + ext + "}") + tried, kBlank));
    const LaunchSeen by_variable = world.Run({.env = {{kByVariable, "{" + ext + "}"}}});
    ExpectRun(world, by_variable,
              Ended(12, SaysNoneIn("{1}") + SaysVariable("{" + ext + "}") + tried, kBlank));
  }
}

TEST(RunFindInstaller, ABlankInAMediaWithoutAnInstallerDoesNotEndTheSearch) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("my ext");
  world.Volume("other/1").Installer();
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{my ext}"}, .env = {{kByVariable, "{other}"}}});
  ExpectRun(world, seen,
            StartedByExternal("{other/1}", SaysNoneIn("{1}") + SaysOption("{my ext}") +
                                               SaysInvalid("{my ext}/") + SaysVariable("{other}") +
                                               SaysUsable("{other}/1")));
}

std::string SaysNotUsed() {
  return " INFO: {1}/inst/linux/code/bin/installer\n"
         " INFO: Installer found in the current media, \"{1}/inst/linux/code/bin/installer\" but "
         "do "
         "not use it because of KVL_UseExternalInstaller env var.\n";
}

TEST(RunFindInstaller, TheMediasInstallerIsPassedOverOnRequest) {
  LaunchWorld world;
  world.OneVolume();
  world.Volume("ext/1").Installer();
  for (const char* value : {"1", "0", " "}) {
    const LaunchSeen seen = world.Run(
        {.arguments = {kByOption, "{ext}"}, .env = {{"KVL_UseExternalInstaller", value}}});
    ExpectRun(
        world, seen,
        StartedByExternal("{ext/1}", SaysNotUsed() + SaysOption("{ext}") + SaysUsable("{ext}/1")));
  }
}

TEST(RunFindInstaller, ARequestForAnExternalInstallerWithoutOneIsAnErrorAndStatus1) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.env = {{"KVL_UseExternalInstaller", "yes"}}});
  ExpectRun(world, seen, Ended(1, SaysNotUsed(), kNotFound));
}

TEST(RunFindInstaller, AnEmptyRequestForAnExternalInstallerIsNone) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen =
      world.Run({.arguments = {kByOption, "{ext}"}, .env = {{"KVL_UseExternalInstaller", ""}}});
  ExpectRun(world, seen, InPlace());
}

/// An operating-system name that no directory at the root of the file system has.
std::string UniqueOs(const MediaWorld& world) {
  return std::filesystem::path(world.Path(".")).filename().string();
}

TEST(RunFindInstaller, WithoutAMediaTheRootDirectoryIsItAndItsEmptyNameVanishes) {
  LaunchWorld world;
  const std::string os = UniqueOs(world);
  world.Volume("ext").Installer(os);
  LaunchPlan plan = {.arguments = {kByOption, "{ext}"},
                     .env = {{"KVL_OS", os}, {"KVL_Online_Installation_Caf_Repositiory", "1"}},
                     .without = {"CurrentMediaDir"}};
  const std::string place = "inst/" + os + "/code/bin/installer";
  ExpectRun(world, world.Run(plan),
            {.out = " INFO: /" + place + "\n INFO: No installer in the current media.\n" +
                    SaysOption("{ext}") + " INFO: Installer executable \"{ext}/1/" + place +
                    "\" does not exist, trying without sub dir \"1\"\n" +
                    " INFO: Installer Media: \"{ext}/" + place + "\"\n",
             .arguments = {"{ext}/" + place, "-CDpath"},
             .env = {.media = "", .external = "{ext}/inst/", .os = os}});
}

TEST(RunFindInstaller, WithoutAnOperatingSystemIsLookedForInInstItself) {
  const std::string place = "inst//code/bin/installer";
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext").Installer("");
  const LaunchPlan plan = {.arguments = {kByOption, "{ext}"}, .without = {"KVL_OS"}};
  ExpectRun(
      world, world.Run(plan),
      {.out = " INFO: {1}/inst/code/bin/installer\n INFO: No installer in the current media.\n" +
              SaysOption("{ext}") + " INFO: Installer executable \"{ext}/1/" + place +
              "\" does not exist, trying without sub dir \"1\"\n" +
              " INFO: Installer Media: \"{ext}/" + place + "\"\n",
       .arguments = {"{ext}/" + place, "-CDpath", "{1}"},
       .env = {.external = "{ext}/inst/", .os = ""}});
}

TEST(RunFindInstaller, WithAnEmptyEnvironmentIsAnErrorAndStatus1) {
  if (std::filesystem::exists("/inst")) GTEST_SKIP() << "this machine has a directory /inst";
  LaunchWorld world;
  const LaunchSeen seen = world.Run({.without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE",
                                                 "TMPDIR", "PATH", "FAKE_REPORT"}});
  EXPECT_EQ(seen.given, Environment{});
  ExpectRun(
      world, seen,
      Ended(1, " INFO: /inst/code/bin\n INFO: No installer in the current media.\n", kNotFound));
}

}  // namespace
}  // namespace kvl::test
