// Whole runs: where the launcher looks for the installer, and in which order.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

const std::string kByOption = "-installerPath", kByVariable = "KVL_ZOLVEN_Installer",
                  kPassOver = "KVL_UseExternalInstaller";

std::string SaysNotBelow1(const std::string& media_slash) {
  return says::NotBelowOne(InstallerOf(media_slash + "1"));
}

std::string SaysInvalid(const std::string& media) {
  return SaysNotBelow1(media + "/") + says::NoInstallerMedia(InstallerOf(media));
}

/// Makes a media in "1" without an installer, and installer media in these directories.
std::function<void(LaunchWorld&)> With(const std::vector<std::string>& directories) {
  return [=](LaunchWorld& world) {
    world.Volume("1");
    for (const std::string& directory : directories) world.Volume(directory).Installer();
  };
}

/// The expected run in place of the media {1} with the installer in the media root `root`.
ExpectedRun StartedBy(const std::string& root, const std::string& out) {
  return {.out = out + says::InstallerMedia(InstallerOf(root)),
          .arguments = {InstallerOf(root), "-CDpath", "{1}"},
          .env = {.external = root + "/inst/"}};
}

const std::string kNone = SaysNoneIn("{1}"), kExtNamed = says::ArgumentNames("{ext}"),
                  kOtherNamed = says::VariableNames("{other}"),
                  kPassedOver = says::PassedOver(InstallerOf("{1}"));

TEST(RunFindInstaller, LooksInTheMediaThenByOptionThenByVariable) {
  const LaunchPlan by_option = {.arguments = {kByOption, "{ext}"}},
                   by_variable = {.env = {{kByVariable, "{other}"}}},
                   by_both = {.arguments = by_option.arguments, .env = by_variable.env};
  ExpectRuns({
      {"by option, in the media itself", With({"ext"}),
       StartedBy("{ext}", kNone + kExtNamed + SaysNotBelow1("{ext}/")), by_option},
      {"by option, in the sub-directory 1", With({"ext/1"}),
       StartedBy("{ext}/1", kNone + kExtNamed), by_option},
      {"the sub-directory 1 is preferred, and no slash doubled", With({"ext", "ext/1"}),
       StartedBy("{ext}/1", kNone + says::ArgumentNames("{ext}/")),
       WithArguments({kByOption, "{ext}/"})},
      {"by variable, in the media itself, and no slash doubled", With({"other"}),
       StartedBy("{other}", kNone + says::VariableNames("{other}/") + SaysNotBelow1("{other}/")),
       WithVariables({{kByVariable, "{other}/"}})},
      {"by variable, in the sub-directory 1", With({"other/1"}),
       StartedBy("{other}/1", kNone + kOtherNamed), by_variable},
      {"by variable, set by an option", With({"other/1"}),
       StartedBy("{other}/1", kNone + kOtherNamed).Sets({{kByVariable, "{other}"}}),
       WithArguments({"-env", kByVariable + "={other}"})},
      {"the option wins, and the variable is not read", With({"ext/1", "other/1"}),
       StartedBy("{ext}/1", kNone + kExtNamed), by_both},
      {"the option is invalid, and the variable valid", With({"other/1"}),
       StartedBy("{other}/1", kNone + kExtNamed + SaysInvalid("{ext}") + kOtherNamed), by_both},
      {"a blank in a media without an installer does not end the search",
       [](LaunchWorld& world) {
         With({"other/1"})(world);
         world.Volume("my ext");
       },
       StartedBy("{other}/1",
                 kNone + says::ArgumentNames("{my ext}") + SaysInvalid("{my ext}") + kOtherNamed),
       {.arguments = {kByOption, "{my ext}"}, .env = by_variable.env}},
      {"an installer in the media comes first",
       &LaunchWorld::OneVolume,
       InPlace(),
       {.arguments = {kByOption, "{a b}"}, .env = {{kByVariable, "{a b}"}}}},
  });
}

TEST(RunFindInstaller, PassesOverTheMediasOwnOnlyOnRequest) {
  LaunchWorld world;
  world.OneVolume().Volume("ext/1").Installer();
  for (const char* value : {"1", "0", " "}) {
    world.Expect(StartedBy("{ext}/1", kPassedOver + kExtNamed),
                 WithArguments({kByOption, "{ext}"}, {{kPassOver, value}}));
  }
  world.Expect(InPlace(), WithArguments({kByOption, "{ext}"}, {{kPassOver, ""}}));
}

TEST(RunFindInstaller, WithoutAnyInstallerIsAnErrorAndStatus1) {
  const auto ended = [](const std::string& out) -> ExpectedRun {
    return {.status = 1, .out = out, .err = says::NoInstaller()};
  };
  ExpectRuns({
      {"no media named", With({}), ended(kNone)},
      {"empty values name none", With({}), ended(kNone),
       WithArguments({kByOption, ""}, {{kByVariable, ""}})},
      {"a dangling link is no installer",
       [](LaunchWorld& world) {
         world.Volume("1").Link("inst/linux/code/bin/installer", "{nowhere}");
       },
       ended(kNone)},
      {"nothing to pass over", With({}), ended(kNone), WithVariables({{kPassOver, "yes"}})},
      {"two invalid media",
       [](LaunchWorld& world) { world.Volume("1").Dir("../ext"); },
       ended(kNone + kExtNamed + SaysInvalid("{ext}") + says::VariableNames("{missing}") +
             SaysInvalid("{missing}")),
       {.arguments = {kByOption, "{ext}"}, .env = {{kByVariable, "{missing}"}}}},
      {"the media's own is passed over",
       &LaunchWorld::OneVolume,
       ended(kPassedOver),
       {.env = {{kPassOver, "yes"}}}},
  });
}

TEST(RunFindInstaller, ABlankInAnExternalMediaIsStatus12) {
  for (const std::string directory : {"my ext", "my/e xt/1", "a/ /b"}) {
    const std::string ext = "{" + directory + "}", tried = SaysNotBelow1(ext + "/");
    const ExpectedRun ended = {.status = 12, .err = says::BlankInInstallerMedia()};
    ExpectRuns({
        {"by option: " + ext, With({directory}),
         ended.Says(kNone + says::ArgumentNames(ext) + tried), WithArguments({kByOption, ext})},
        {"by variable: " + ext, With({directory}),
         ended.Says(kNone + says::VariableNames(ext) + tried), WithVariables({{kByVariable, ext}})},
    });
  }
}

TEST(RunFindInstaller, TakesAnythingAtTheInstallersPath) {
  const std::string place = "inst/linux/code/bin/installer", bin = "{1}/inst/linux/code/bin";
  const ExpectedRun found = {.status = 255,
                             .out = SaysFoundIn("{1}"),
                             .err = says::CannotWait(CommandOf(StartedFrom("{1}")))};
  ExpectRuns({
      {"a directory", [&](LaunchWorld& world) { world.Volume("1").Dir(place); }, found},
      {"a file that nobody may read",
       [&](LaunchWorld& world) { SetMode(world.Directory().Write("1/" + place, "no program"), 0); },
       found},
      {"without the installer's name, the directory bin",
       &LaunchWorld::OneVolume,
       found.Says(says::FoundInCurrentMedia(bin))
           .Warns(says::CannotWait(CommandOf({bin, "-CDpath", "{1}"}))),
       {.without = {"KVL_Installer_EXE"}}},
  });
}

/// The expected run of an installer at this place in the media {ext} itself, after the current
/// media had none.
ExpectedRun StartedAt(const std::string& candidate, const std::string& place) {
  return {.out = says::NoneInCurrentMedia(candidate) + kExtNamed +
                 says::NotBelowOne("{ext}/1/" + place) + says::InstallerMedia("{ext}/" + place),
          .arguments = {"{ext}/" + place, "-CDpath"},
          .env = {.external = "{ext}/inst/"}};
}

TEST(RunFindInstaller, WithoutAMediaLooksInTheRootAndTellsNoMedia) {
  LaunchWorld world;
  // No directory at the root of the file system has this name.
  const std::string os = fs::path(world.Path(".")).filename().string();
  const std::string place = "inst/" + os + "/code/bin/installer";
  world.Volume("ext").Installer(os);
  ExpectedRun expected = StartedAt("/" + place, place);
  expected.env.media = "";
  expected.env.os = os;
  world.Expect(expected, {.arguments = {kByOption, "{ext}"},
                          .env = {{"KVL_OS", os}, {"KVL_Online_Installation_Caf_Repositiory", "1"}},
                          .without = {"CurrentMediaDir"}});
}

TEST(RunFindInstaller, WithoutAnOperatingSystemLooksInInstItself) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("ext").Installer("");
  ExpectedRun expected =
      StartedAt("{1}/inst/code/bin/installer", "inst//code/bin/installer").Passes({"{1}"});
  expected.env.os = "";
  world.Expect(expected, {.arguments = {kByOption, "{ext}"}, .without = {"KVL_OS"}});
}

TEST(RunFindInstaller, WithAnEmptyEnvironmentIsAnErrorAndStatus1) {
  if (fs::exists("/inst")) GTEST_SKIP() << "this machine has a directory /inst";
  LaunchWorld world;
  const LaunchSeen seen = world.Expect(
      {.status = 1, .out = says::NoneInCurrentMedia("/inst/code/bin"), .err = says::NoInstaller()},
      {.without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE", "TMPDIR", "PATH",
                   "FAKE_REPORT"}});
  EXPECT_EQ(seen.given, Environment{});
}

}  // namespace
}  // namespace kvl::test
