// Whole runs of a media that is not complete: the installer is staged and started from the copy.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The name of the staging directory of the last run.
std::string StagingName(const MediaWorld& world) {
  return std::filesystem::path(world.Text("{staging}")).filename().string();
}

TEST(RunStaged, StartsACopyOfTheInstallerAndWarns) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run();
  ExpectRun(world, seen,
            {.out = " INFO: {1}/inst/linux/code/bin/installer\n"
                    " INFO: Installer found in current media: "
                    "\"{1}/inst/linux/code/bin/installer\".\n"
                    " INFO: This media is composed of 3 volumes.\n"
                    "       Volume 1 found in: {1}\n"
                    "       Volume 2 found in: {2}\n",
             .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n"
                    " WARN: This media is composed of multiple volumes.\n"
                    " WARN: If it is not done already, please copy each volume on a local hard "
                    "drive before starting the installation.\n"
                    " WARN: Not doing so might result in the installation leaving temporary files "
                    "behind.\n",
             .arguments = {"{staging}/inst/linux/code/bin/installer", "-CDpath", "{staging}"},
             .env = {.media = "{staging}",
                     .original = "{1}",
                     .found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}}},
             .left = {.media = "1"}});
}

TEST(RunStaged, UsesADirectoryNamedByAnUpperCaseIdentifier) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Run();
  EXPECT_EQ(WithoutIdentifiers(StagingName(world)), "<id>");
}

TEST(RunStaged, NothingIsRemovedAndEachRunHasADirectoryOfItsOwn) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen first = world.Run();
  const LaunchSeen second = world.Run();
  EXPECT_EQ(second.staged.size(), 2 * first.staged.size());
  EXPECT_NE(second.child.arguments, first.child.arguments);
}

TEST(RunStaged, PassesArgumentsOnBehindTheStagedMedia) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.arguments = {"-x", "a b"}, .env = {{"FAKE_EXIT", "9"}}});
  ExpectedRun expected = Staged();
  expected.status = 9;
  expected.arguments = StartedFrom("{staging}", {"-x", "a b"});
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, AnEmptyRequestToRunInPlaceIsNone) {
  LaunchWorld world;
  world.VolumeMissing();
  ExpectRun(world, world.Run({.env = {{"KVLAdmInstDontCopyInstaller", ""}}}), Staged());
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
  const LaunchSeen seen = world.Run({.env = {{"TMPDIR", "tmp"}}, .directory = world.Path(".")});
  const std::string staging = "tmp/" + StagingName(world);
  ExpectedRun expected = Staged();
  expected.arguments = StartedFrom(staging);
  expected.env.media = staging;
  expected.left.script_for = staging + "/";
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, TMPDIRMayBeSetByAnOption) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen =
      world.Run({.arguments = {"-env", "TMPDIR={tmp}"}, .env = {{"TMPDIR", "{elsewhere}"}}});
  ExpectedRun expected = Staged();
  expected.env.options = {{"TMPDIR", "{tmp}"}};
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, AMissingTMPDIRIsMade) {
  LaunchWorld world;
  world.VolumeMissing();
  ExpectRun(world, world.Run({.env = {{"TMPDIR", "{tmp/a/b}"}}}), Staged());
  EXPECT_EQ(ModeOf(world.Path("tmp/a/b")), 0755U);
}

TEST(RunStaged, LinksInTheMediaAreCopiedAsWhatTheyLeadTo) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("elsewhere").File("in/it", "text");
  world.Volume("1")
      .Link("inst/common/directory", "{elsewhere}")
      .Link("inst/common/file", "../../../elsewhere/in/it")
      .Link("inst/linux/installer-too", "code/bin/installer");
  const LaunchSeen seen = world.Run();
  ExpectRun(world, seen, Staged());
  EXPECT_THAT(seen.staged, testing::Not(testing::Contains(testing::StartsWith("l "))));
  EXPECT_THAT(seen.staged, testing::Contains("f 644 {staging}/inst/common/directory/in/it = text"));
}

TEST(RunStaged, AMediaBehindALinkKeepsItsName) {
  LaunchWorld world;
  world.Volume("real/1").Installer().Descriptions().Announces("3").Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
  world.Volume(".").Link("1", "real/1");
  ExpectRun(world, world.Run(), Staged());
}

/// A media in "1" without an installer of its own, the first of three volumes with one missing.
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

TEST(RunStaged, AnExternalInstallerIsLaidOverTheMediasInst) {
  LaunchWorld world;
  MediaWithoutInstaller(world);
  world.Volume("ext/1").Installer().File("inst/other/file", "not copied");
  const LaunchSeen seen = world.Run({.arguments = {"-installerPath", "{ext}"}});
  ExpectedRun expected = Staged();
  expected.out = SaysNoneIn("{1}") +
                 " INFO: Argument \"-installerPath\" found and its value is \"{ext}\".\n"
                 " INFO: Installer Media: \"{ext}/1/inst/linux/code/bin/installer\"\n" +
                 kTwoOfThree;
  expected.env.external = "{ext}/1/inst/";
  expected.left.external_inst = "ext/1/inst";
  ExpectRun(world, seen, expected);
  EXPECT_THAT(seen.staged, testing::Contains("f 644 {staging}/inst/common/own = kept"));
  EXPECT_THAT(seen.staged,
              testing::Contains("f 644 {staging}/inst/common/reffiles/list = common of ext/1"));
}

TEST(RunStaged, AnExternalInstallerReplacesTheMediasOwn) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("1").File("inst/linux/code/bin/installer", "not this one");
  world.Volume("ext").Installer();
  const LaunchSeen seen =
      world.Run({.env = {{"KVL_ZOLVEN_Installer", "{ext}"}, {"KVL_UseExternalInstaller", "1"}}});
  ExpectedRun expected = Staged();
  expected.out =
      " INFO: {1}/inst/linux/code/bin/installer\n"
      " INFO: Installer found in the current media, \"{1}/inst/linux/code/bin/installer\" but do "
      "not use it because of KVL_UseExternalInstaller env var.\n"
      " INFO: Environment variable KVL_ZOLVEN_Installer is defined and its value is \"{ext}\".\n"
      " INFO: Installer executable \"{ext}/1/inst/linux/code/bin/installer\" does not exist, "
      "trying without sub dir \"1\"\n"
      " INFO: Installer Media: \"{ext}/inst/linux/code/bin/installer\"\n";
  expected.out += kTwoOfThree;
  expected.env.external = "{ext}/inst/";
  expected.left.external_inst = "ext/inst";
  ExpectRun(world, seen, expected);
}

TEST(RunStaged, WithoutACleanUpScriptWhenItCannotBeOpened) {
  // An operating-system directory of this name makes "remove.bat" a directory of the staged copy.
  const std::string os = "../remove.bat";
  LaunchWorld world;
  MediaWithoutInstaller(world);
  world.Volume("ext/1").Dir("inst").Installer(os);
  const LaunchSeen seen =
      world.Run({.arguments = {"-installerPath", "{ext}"}, .env = {{"KVL_OS", os}}});
  const std::string place = "/inst/../remove.bat/code/bin/installer";
  ExpectedRun expected = Staged();
  expected.out = " INFO: {1}" + place + "\n INFO: No installer in the current media.\n" +
                 " INFO: Argument \"-installerPath\" found and its value is \"{ext}\".\n"
                 " INFO: Installer Media: \"{ext}/1" +
                 place + "\"\n" + kTwoOfThree;
  expected.arguments = {"{staging}" + place, "-CDpath", "{staging}"};
  expected.env.external = "{ext}/1/inst/";
  expected.env.os = os;
  expected.left.external_inst = "ext/1/inst";
  expected.left.script_for = "";
  ExpectRun(world, seen, expected);
  EXPECT_TRUE(std::filesystem::is_directory(world.Text("{staging}/remove.bat")));
}

}  // namespace
}  // namespace kvl::test
