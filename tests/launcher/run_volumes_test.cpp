// Whole runs: what the scan of the media makes of the run.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

std::string SaysComposedOf(const std::string& line) {
  return " INFO: This media is composed of " + line + " volumes.\n";
}

std::string Further(const std::string& text) {
  return "       " + text + "\n";
}

/// The messages of an installer found in {1} and a media of three volumes.
std::string SaysThreeVolumes() {
  return SaysFoundIn("{1}") + SaysComposedOf("3");
}

/// The first of three volumes, with an installer, in "1".
VolumeBuilder FirstOfThree(LaunchWorld& world) {
  return world.Volume("1").Installer().Descriptions().Announces("3").Marker(1, "SET-A");
}

ExpectedRun StagedAfter(const std::string& out, const std::string& err) {
  ExpectedRun expected = Staged();
  expected.out = out;
  expected.err = err + kStagedWarning;
  return expected;
}

TEST(RunVolumes, AMediaOfOneVolumeRunsInPlace) {
  for (const char* line : {"1", "0", "-5", " +1 volume"}) {
    LaunchWorld world;
    world.OneVolume().Volume("1").Announces(line);
    ExpectRun(world, world.Run(), InPlace());
  }
}

TEST(RunVolumes, AnOnlineRepositoryMakesVolumesUnnecessary) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run({.env = {{"KVL_Online_Installation_Caf_Repositiory", "x"}}});
  ExpectRun(world, seen, InPlace());
}

TEST(RunVolumes, AllInOneDirectoryRunInPlaceAsASingleVolume) {
  LaunchWorld world;
  FirstOfThree(world).Marker(2, "SET-A").Marker(3, "SET-A");
  const LaunchSeen seen = world.Run();
  ExpectedRun expected = InPlace();
  expected.out = SaysThreeVolumes() + Further("All volumes found in: {1}");
  expected.env.found = {{"KVLAdmInstMTBDIR", "SET-A"}};
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, SomeInOneDirectoryAreStaged) {
  LaunchWorld world;
  FirstOfThree(world).Marker(3, "SET-A");
  ExpectRun(world, world.Run(), StagedAfter(SaysThreeVolumes(), kMissingVolumes));
}

TEST(RunVolumes, OfTwoSetsInOneDirectoryAreStaged) {
  LaunchWorld world;
  FirstOfThree(world).Marker(2, "SET-B").Marker(3, "SET-A");
  ExpectRun(world, world.Run(),
            StagedAfter(SaysThreeVolumes(),
                        " WARN: Volume 2 of SET-B found in the directory of SET-A\n"));
}

TEST(RunVolumes, InSiblingDirectoriesRunInPlaceAndAreNamedToTheInstaller) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("4").Marker(1, "SET-A");
  for (const int number : {2, 3, 4}) world.Volume(std::to_string(number)).Marker(number, "SET-A");
  const LaunchSeen seen = world.Run(
      {.env = {{"KVLAdmInstVolumePath_2", "old"}, {"KVLAdmInstVolumePath_5", "left as it was"}}});
  ExpectedRun expected = InPlace();
  expected.out = SaysFoundIn("{1}") + SaysComposedOf("4") + Further("Volume 1 found in: {1}") +
                 Further("Volume 2 found in: {2}") + Further("Volume 3 found in: {3}") +
                 Further("Volume 4 found in: {4}");
  expected.env.found = {{"KVLAdmInstVolumesCount", "4"},
                        {"KVLAdmInstMTBDIR", "SET-A"},
                        {"KVLAdmInstVolumePath_2", "{2}"},
                        {"KVLAdmInstVolumePath_3", "{3}"},
                        {"KVLAdmInstVolumePath_4", "{4}"}};
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, SomeInSiblingDirectoriesAreStagedAndNotNamedToTheInstaller) {
  LaunchWorld world;
  world.VolumeMissing();
  ExpectRun(world, world.Run({.env = {{"KVLAdmInstVolumePath_2", "left as it was"}}}), Staged());
}

TEST(RunVolumes, AVolumeFoundAfterAWarningIsReportedOnStandardError) {
  LaunchWorld world;
  FirstOfThree(world);
  world.Volume("2").Marker(2, "SET-B");
  world.Volume("3").Marker(3, "SET-A");
  ExpectRun(world, world.Run(),
            StagedAfter(SaysThreeVolumes() + Further("Volume 1 found in: {1}"),
                        " WARN: Volume 2 of SET-B found in {2} instead of SET-A\n"
                        "       Volume 3 found in: {3}\n"));
}

TEST(RunVolumes, WithoutTheMediasOwnMarkerAreStaged) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("3 CDs");
  const LaunchSeen seen = world.Run();
  ExpectedRun expected = StagedAfter(SaysFoundIn("{1}") + SaysComposedOf("3 CDs"),
                                     " WARN: 1.txt not found or not accessible in: {1}\n"
                                     "       Please make sure you copied the whole volume.\n");
  expected.env.found = {{"KVLAdmInstVolumesCount", "3 CDs"}};
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, WithAnUnreadableVolumesFileAreStagedInSilence) {
  LaunchWorld world;
  world.OneVolume().Volume("1").File("inst/volumes.txt", "");
  const LaunchSeen seen = world.Run();
  ExpectedRun expected = StagedAfter(SaysFoundIn("{1}"), "");
  expected.env.found = {};
  ExpectRun(world, seen, expected);
}

/// The media of an AM layout of two volumes, in {am/1/media/1}.
class AmWorld : public LaunchWorld {
 public:
  AmWorld() {
    Volume("am/1").Marker(1, "AM-SET");
    Volume("am/1/media/1").Installer().Descriptions().Announces("2").Marker(1, "SET-A");
  }

  static std::string SaysFirst() {
    return SaysFoundIn("{am/1/media/1}") + SaysComposedOf("2") +
           Further("Volume 1 found in: {am/1/media/1}") + Further("AM volume 1 found in: {am/1}");
  }

  /// What a run in place is to look like.
  static ExpectedRun Complete() {
    return {.out = SaysFirst(),
            .arguments = StartedFrom("{am/1/media/1}"),
            .env = {.media = "{am/1/media/1}",
                    .found = {{"KVLAdmInstVolumesCount", "2"},
                              {"KVLAdmInstMTBDIR", "AM-SET"},
                              {"KVLAdmInstFirstAMVolume", "1"},
                              {"KVLAdmInstFirstAMPath", "{am/1}"},
                              {"KVLAdmInstAMRelativePath", "media"}}}};
  }

  /// What a staged run that warns of `err` is to look like.
  static ExpectedRun StagedWith(const std::string& out, const std::string& err) {
    ExpectedRun expected = Complete();
    expected.out = out;
    expected.err = err + kStagedWarning;
    expected.arguments = StartedFrom("{staging}");
    expected.env.media = "{staging}";
    expected.env.original = "{am/1/media/1}";
    expected.left.media = "am/1/media/1";
    return expected;
  }
};

TEST(RunVolumes, InAmVolumesRunInPlaceAndAreNamedToTheInstaller) {
  AmWorld world;
  world.Volume("am/2").Marker(2, "AM-SET");
  world.Volume("am/2/media/2").Marker(2, "SET-A");
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectedRun expected = AmWorld::Complete();
  expected.out +=
      Further("AM volume 2 found in: {am/2}") + Further("Volume 2 found in: {am/2/media/2}");
  expected.env.found["KVLAdmInstVolumePath_2"] = "{am/2/media/2}";
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, WithoutAnyInAmVolumesAreStagedInSilence) {
  AmWorld world;
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectRun(world, seen, AmWorld::StagedWith(AmWorld::SaysFirst(), ""));
}

TEST(RunVolumes, OfTwoSetsInAmVolumesAreStaged) {
  AmWorld world;
  world.Volume("am/2").Marker(2, "AM-SET");
  world.Volume("am/2/media/2").Marker(2, "SET-B");
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectRun(
      world, seen,
      AmWorld::StagedWith(AmWorld::SaysFirst() + Further("AM volume 2 found in: {am/2}"),
                          " WARN: Volume 2 of SET-B found in {am/2/media/2} instead of SET-A\n"));
}

TEST(RunVolumes, InAnAmVolumeOfAnotherSetAreStaged) {
  AmWorld world;
  world.Volume("am/2").Marker(2, "OTHER");
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectRun(world, seen,
            AmWorld::StagedWith(AmWorld::SaysFirst(),
                                " WARN: AM volume 2 of OTHER found in {am/2} instead of AM-SET\n"));
}

TEST(RunVolumes, SomeInAmVolumesAreStaged) {
  AmWorld world;
  world.Volume("am/1/media/1").Announces("3");
  world.Volume("am/2").Marker(2, "AM-SET");
  world.Volume("am/2/media/2").Marker(2, "SET-A");
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectedRun expected = AmWorld::StagedWith(
      SaysFoundIn("{am/1/media/1}") + SaysComposedOf("3") +
          Further("Volume 1 found in: {am/1/media/1}") + Further("AM volume 1 found in: {am/1}") +
          Further("AM volume 2 found in: {am/2}") + Further("Volume 2 found in: {am/2/media/2}"),
      kMissingVolumes);
  expected.env.found["KVLAdmInstVolumesCount"] = "3";
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, BelowAnAmMarkerWithoutATagAreStaged) {
  AmWorld world;
  world.Volume("am/1").File("1.txt", "no tag\n");
  const LaunchSeen seen = world.Run({}, "am/1/media/1");
  ExpectedRun expected = AmWorld::StagedWith(
      SaysFoundIn("{am/1/media/1}") + SaysComposedOf("2") +
          Further("Volume 1 found in: {am/1/media/1}"),
      " WARN: Cannot open 1.txt in {am/1}\n"
      "       Please make sure you copied and/or extracted everything properly.\n");
  expected.env.found = {{"KVLAdmInstVolumesCount", "2"}, {"KVLAdmInstMTBDIR", "SET-A"}};
  ExpectRun(world, seen, expected);
}

TEST(RunVolumes, OfARelativeMediaAreLookedForInItsOwnDirectoriesOnly) {
  LaunchWorld world;
  world.Volume("m/1").Installer().Descriptions().Announces("2").Marker(1, "SET-A");
  const LaunchSeen seen =
      world.Run({.env = {{"CurrentMediaDir", "m/1"}}, .directory = world.Path(".")});
  ExpectedRun expected = Staged();
  expected.out = SaysFoundIn("m/1") + SaysComposedOf("2") + Further("Volume 1 found in: m/1");
  expected.err = kStagedWarning;
  expected.env.original = "m/1";
  expected.env.found["KVLAdmInstVolumesCount"] = "2";
  expected.left.media = "m/1";
  ExpectRun(world, seen, expected);
}

void WithoutCore() {
  const rlimit none = {0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

TEST(RunVolumes, WhoseNumberIsNoIntEndTheProgramAbnormally) {
  for (const char* line :
       {"", "three", "-", "+ 3", "2147483648", "-2147483649", "99999999999999999999"}) {
    SCOPED_TRACE(line);
    LaunchWorld world;
    world.OneVolume().Volume("1").Announces(line);
    const LaunchSeen seen = world.Run({.before = WithoutCore});
    EXPECT_EQ(seen.status, -SIGABRT);
    EXPECT_EQ(seen.out, world.Text(SaysFoundIn("{1}")));
    EXPECT_FALSE(seen.child.started);
    EXPECT_EQ(seen.staged, std::vector<std::string>());
  }
}

}  // namespace
}  // namespace kvl::test
