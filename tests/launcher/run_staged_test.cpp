// Whole runs of an incomplete media: the launcher stages the installer and starts the copy.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

using testing::Contains;

/// Returns the name of the last run's staging directory.
std::string StagingName(const MediaWorld& world) {
  return fs::path(world.Text("{staging}")).filename().string();
}

TEST(RunStaged, StartsACopyBelowAnUpperCaseIdentifierAndWarns) {
  LaunchWorld world;
  world.VolumeMissing().Expect(Staged());
  EXPECT_EQ(WithoutIdentifiers(StagingName(world)), "<id>");
}

TEST(RunStaged, RemovesNothingAndUsesANewDirectoryEachTime) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen first = world.Run();
  const LaunchSeen second = world.Run();
  EXPECT_EQ(second.staged.size(), 2 * first.staged.size());
  EXPECT_NE(second.child.arguments, first.child.arguments);
}

TEST(RunStaged, WritesTheCleanUpScriptBeforeTheInstallerStarts) {
  LaunchWorld world;
  world.VolumeMissing();
  SetMode(world.Directory().Write(InstallerOf("1"), "#!/bin/sh\ncat \"$2/remove.bat\"\n"), 0755);
  const LaunchSeen seen = world.Run();
  EXPECT_THAT(seen.out, testing::EndsWith(CleanUpScriptIn(world.Text("{staging}/"))));
}

TEST(RunStaged, FollowsItsVariablesAndArguments) {
  ExpectRuns({
      {"arguments come behind the staged media", &LaunchWorld::VolumeMissing,
       Staged().Passes({"-x", "a b"}), WithArguments({"-x", "a b"})},
      {"an empty request to run in place is none", &LaunchWorld::VolumeMissing, Staged(),
       WithVariables({{"KVLAdmInstDontCopyInstaller", ""}})},
      {"TMPDIR set by an option", &LaunchWorld::VolumeMissing, Staged().Sets({{"TMPDIR", "{tmp}"}}),
       WithArguments({"-env", "TMPDIR={tmp}"}, {{"TMPDIR", "{elsewhere}"}})},
  });
}

TEST(RunStaged, ASlashAtTheEndOfTMPDIRIsDoubledInTheScript) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.env = {{"TMPDIR", "{tmp}/"}}});
  ExpectedRun expected = Staged();
  expected.left.script_for = "{tmp}//" + StagingName(world) + "/";
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, ARelativeTMPDIRStaysRelative) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.env = {{"TMPDIR", "tmp"}}, .directory = "{}"});
  const std::string staging = "tmp/" + StagingName(world);
  ExpectedRun expected = Staged();
  expected.arguments = StartedFrom(staging);
  expected.env.media = staging;
  expected.left.script_for = staging + "/";
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, AMissingTMPDIRIsMade) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Expect(Staged(), {.env = {{"TMPDIR", "{tmp/a/b}"}}});
  EXPECT_EQ(ModeOf(world.Path("tmp/a/b")), 0755U);
}

TEST(RunStaged, CopiesTheTargetsOfLinksInTheMedia) {
  LaunchWorld world;
  world.VolumeMissing().Volume("elsewhere").File("in/it", "text");
  fs::remove(world.Path("1/media.db"));
  world.Volume("1")
      .Link("media.db", "{elsewhere/in}")
      .Link("inst/common/directory", "{elsewhere}")
      .Link("inst/common/file", "../../../elsewhere/in/it")
      .Link("inst/linux/installer-too", "code/bin/installer");
  const LaunchSeen seen = world.Expect(Staged());
  EXPECT_THAT(seen.staged, testing::Not(Contains(testing::StartsWith("l "))));
  EXPECT_THAT(seen.staged, Contains("f 644 {staging}/inst/common/directory/in/it = text"));
  EXPECT_THAT(seen.staged, Contains("f 644 {staging}/media.db/it = text"));
}

TEST(RunStaged, AMediaBehindALinkKeepsItsName) {
  LaunchWorld world;
  world.VolumeMissing();
  fs::rename(world.Path("1"), world.Path("real"));
  world.Volume(".").Link("1", "real");
  world.Expect(Staged());
}

/// Makes a media in "1" without an installer of its own: the first of three volumes, one of which
/// is missing.
void MediaWithoutInstaller(LaunchWorld& world) {
  world.Volume("1")
      .File("inst/common/reffiles/list", "replaced")
      .File("inst/common/own", "kept")
      .File("inst/linux/own", "kept")
      .Descriptions()
      .Announces("3")
      .Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
}

/// The expected run with the installer at this place in the media root `root`.
ExpectedRun StagedFrom(const std::string& root, const std::string& before,
                       const std::string& place = "/inst/linux/code/bin/installer") {
  ExpectedRun expected = Staged();
  expected.out = before + says::InstallerMedia("{" + root + "}" + place) + kTwoOfThree;
  expected.arguments.front() = "{staging}" + place;
  expected.env.external = "{" + root + "}/inst/";
  expected.left.external_inst = root + "/inst";
  return expected;
}

const LaunchPlan kExtByOption = {.arguments = {"-installerPath", "{ext}"}};
const std::string kOptionNamesExt = says::ArgumentNames("{ext}");

TEST(RunStaged, AnExternalInstallerIsLaidOverTheMediasInst) {
  LaunchWorld world;
  MediaWithoutInstaller(world);
  world.Volume("ext/1").Installer().File("inst/other/file", "not copied");
  const LaunchSeen seen =
      world.Expect(StagedFrom("ext/1", SaysNoneIn("{1}") + kOptionNamesExt), kExtByOption);
  EXPECT_THAT(seen.staged, Contains("f 644 {staging}/inst/common/own = kept"));
  EXPECT_THAT(seen.staged, Contains("f 644 {staging}/inst/common/reffiles/list = common of ext/1"));
}

TEST(RunStaged, AnExternalInstallerReplacesTheMediasOwn) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("1").File("inst/linux/code/bin/installer", "not this one");
  world.Volume("ext").Installer();
  world.Expect(
      StagedFrom("ext", says::PassedOver(InstallerOf("{1}")) + says::VariableNames("{ext}") +
                            says::NotBelowOne(InstallerOf("{ext}/1"))),
      {.env = {{"KVL_ZOLVEN_Installer", "{ext}"}, {"KVL_UseExternalInstaller", "1"}}});
}

TEST(RunStaged, WithoutAnOperatingSystemCopiesAllOfExternalInst) {
  LaunchWorld world;
  MediaWithoutInstaller(world);
  world.Volume("ext/1").Installer("").File("inst/other/file", "copied");
  ExpectedRun expected =
      StagedFrom("ext/1", says::NoneInCurrentMedia("{1}/inst/code/bin/installer") + kOptionNamesExt,
                 "/inst//code/bin/installer");
  expected.arguments.front() = "{staging}/inst/code/bin/installer";
  expected.env.os = "";
  const LaunchSeen seen =
      world.Expect(expected, {.arguments = kExtByOption.arguments, .without = {"KVL_OS"}});
  EXPECT_THAT(seen.staged, Contains("f 644 {staging}/inst/other/file = copied"));
}

TEST(RunStaged, GoesOnWithoutACleanUpScriptThatCannotBeOpened) {
  // An operating-system directory of this name turns "remove.bat" into a directory of the staged
  // copy.
  const std::string os = "../remove.bat", place = "/inst/../remove.bat/code/bin/installer";
  LaunchWorld world;
  MediaWithoutInstaller(world);
  world.Volume("ext/1").Dir("inst").Installer(os);
  ExpectedRun expected =
      StagedFrom("ext/1", says::NoneInCurrentMedia("{1}" + place) + kOptionNamesExt, place);
  expected.env.os = os;
  expected.left.script_for = "";
  world.Expect(expected, {.arguments = kExtByOption.arguments, .env = {{"KVL_OS", os}}});
  EXPECT_TRUE(fs::is_directory(world.Text("{staging}/remove.bat")));
}

}  // namespace
}  // namespace kvl::test
