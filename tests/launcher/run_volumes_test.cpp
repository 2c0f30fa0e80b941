// Whole runs: how the scan of the media decides the run.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

/// Makes in that directory an installer and the first of so many volumes, and markers with these
/// tags.
std::function<void(LaunchWorld&)> First(const std::string& directory, const std::string& volumes,
                                        const Environment& tags) {
  return [=](LaunchWorld& world) {
    world.Volume(directory).Installer().Descriptions().Announces(volumes).Marker(1, "SET-A");
    for (const auto& [file, tag] : tags) world.Volume(".").File(file, "MTBDIR=" + tag + "\n");
  };
}

ExpectedRun StagedAfter(const std::string& further_out, const std::string& err) {
  return Staged().Says(SaysFoundIn("{1}") + further_out).Warns(err + says::Staged());
}

TEST(RunVolumes, AMediaOfOneVolumeRunsInPlace) {
  for (const char* line : {"1", "0", "-5", " +1 volume"}) {
    LaunchWorld world;
    world.OneVolume().Volume("1").Announces(line);
    world.Expect(InPlace());
  }
}

TEST(RunVolumes, AreFoundInTheMediaDirectory) {
  const std::string three = says::ComposedOf("3");
  ExpectRuns({
      {"all of them run in place as a single volume",
       First("1", "3", {{"1/2.txt", "SET-A"}, {"1/3.txt", "SET-A"}}),
       InPlace()
           .Says(SaysFoundIn("{1}") + three + says::AllFound("{1}"))
           .Finds({{"KVLAdmInstMTBDIR", "SET-A"}})},
      {"some are staged", First("1", "3", {{"1/3.txt", "SET-A"}}),
       StagedAfter(three, says::Missing())},
      {"of two sets are staged", First("1", "3", {{"1/2.txt", "SET-B"}, {"1/3.txt", "SET-A"}}),
       StagedAfter(three, says::WrongBeside("2", "SET-B", "SET-A"))},
      {"without its own marker are staged",
       [](LaunchWorld& world) { world.OneVolume().Volume("1").Announces("3 CDs"); },
       StagedAfter(says::ComposedOf("3 CDs"), says::NoFirstMarker("{1}"))
           .Finds({{"KVLAdmInstVolumesCount", "3 CDs"}})},
      {"with an unreadable volumes file are staged in silence",
       [](LaunchWorld& world) { world.OneVolume().Volume("1").File("inst/volumes.txt", ""); },
       StagedAfter("", "").Finds({})},
  });
}

TEST(RunVolumes, AreFoundInSiblingDirectories) {
  const Environment paths = {{"KVLAdmInstVolumePath_2", "{2}"},
                             {"KVLAdmInstVolumePath_3", "{3}"},
                             {"KVLAdmInstVolumePath_4", "{4}"}};
  Environment found = {{"KVLAdmInstVolumesCount", "4"}, {"KVLAdmInstMTBDIR", "SET-A"}};
  found.insert(paths.begin(), paths.end());
  ExpectRuns({
      {"all run in place and are named to the installer",
       First("1", "4", {{"2/2.txt", "SET-A"}, {"3/3.txt", "SET-A"}, {"4/4.txt", "SET-A"}}),
       InPlace()
           .Says(SaysFoundIn("{1}") + says::Volumes("4", {"{1}", "{2}", "{3}", "{4}"}))
           .Finds(found),
       WithVariables(
           {{"KVLAdmInstVolumePath_2", "old"}, {"KVLAdmInstVolumePath_5", "left alone"}})},
      {"some are staged and not named", &LaunchWorld::VolumeMissing, Staged(),
       WithVariables({{"KVLAdmInstVolumePath_2", "left alone"}})},
      {"are not looked for in an online installation", &LaunchWorld::VolumeMissing, InPlace(),
       WithVariables({{"KVL_Online_Installation_Caf_Repositiory", "x"}})},
      {"one found after a warning is reported on standard error",
       First("1", "3", {{"2/2.txt", "SET-B"}, {"3/3.txt", "SET-A"}}),
       StagedAfter(says::Volumes("3", {"{1}"}),
                   says::Wrong("Volume 2", "SET-B", "{2}", "SET-A") + says::Found("3", "{3}"))},
  });
}

constexpr char kInAm[] = "{am/1/media/1}";

/// The expected run of such a media that the launcher stages.
ExpectedRun StagedFromAm(const std::string& volumes, const std::string& out,
                         const std::string& err) {
  ExpectedRun expected = Staged()
                             .Says(SaysFoundIn(kInAm) + says::Volumes(volumes, {kInAm}) + out)
                             .Warns(err + says::Staged())
                             .Finds({{"KVLAdmInstVolumesCount", volumes},
                                     {"KVLAdmInstMTBDIR", "AM-SET"},
                                     {"KVLAdmInstFirstAMVolume", "1"},
                                     {"KVLAdmInstFirstAMPath", "{am/1}"},
                                     {"KVLAdmInstAMRelativePath", "media"}});
  expected.env.original = kInAm;
  expected.left.media = "am/1/media/1";
  return expected;
}

TEST(RunVolumes, AreFoundInAmVolumes) {
  const auto made = [](const std::string& volumes, Environment tags) {
    tags.emplace("am/1/1.txt", "AM-SET");
    return First("am/1/media/1", volumes, tags);
  };
  const std::string first = says::FoundAm("1", "{am/1}"), second = says::FoundAm("2", "{am/2}"),
                    both = first + second + says::Found("2", "{am/2/media/2}");
  const Environment tags = {{"am/2/2.txt", "AM-SET"}, {"am/2/media/2/2.txt", "SET-A"}},
                    other_tags = {{"am/2/2.txt", "AM-SET"}, {"am/2/media/2/2.txt", "SET-B"}};
  ExpectedRun complete = InPlace().Says(StagedFromAm("2", both, "").out);
  complete.arguments = StartedFrom(kInAm);
  complete.env = {.media = kInAm, .found = StagedFromAm("2", "", "").env.found};
  complete.env.found["KVLAdmInstVolumePath_2"] = "{am/2/media/2}";
  const LaunchPlan from = WithVariables({{"CurrentMediaDir", kInAm}});
  ExpectRuns({
      {"all run in place and are named to the installer", made("2", tags), complete, from},
      {"none are staged in silence", made("2", {}), StagedFromAm("2", first, ""), from},
      {"some are staged", made("3", tags), StagedFromAm("3", both, says::Missing()), from},
      {"of two sets are staged", made("2", other_tags),
       StagedFromAm("2", first + second,
                    says::Wrong("Volume 2", "SET-B", "{am/2/media/2}", "SET-A")),
       from},
      {"of another AM set are staged", made("2", {{"am/2/2.txt", "OTHER"}}),
       StagedFromAm("2", first, says::Wrong("AM volume 2", "OTHER", "{am/2}", "AM-SET")), from},
      {"below a marker without a tag are staged", made("2", {{"am/1/1.txt", ""}}),
       StagedFromAm("2", "", says::CannotOpen("1.txt", "{am/1}"))
           .Finds({{"KVLAdmInstVolumesCount", "2"}, {"KVLAdmInstMTBDIR", "SET-A"}}),
       from},
  });
}

TEST(RunVolumes, OfARelativeMediaAreOnlySearchedInTheMedia) {
  LaunchWorld world;
  world.Volume("m/1").Installer().Descriptions().Announces("2").Marker(1, "SET-A");
  ExpectedRun expected =
      Staged().Says(SaysFoundIn("m/1") + says::Volumes("2", {"m/1"})).Warns(says::Staged());
  expected.env.original = "m/1";
  expected.env.found["KVLAdmInstVolumesCount"] = "2";
  expected.left.media = "m/1";
  world.Expect(expected, {.env = {{"CurrentMediaDir", "m/1"}}, .directory = "{}"});
}

TEST(RunVolumes, WithANumberThatIsNoIntAbortTheProgram) {
  for (const char* line :
       {"", "three", "-", "+ 3", "2147483648", "-2147483649", "99999999999999999999"}) {
    SCOPED_TRACE(line);
    LaunchWorld world;
    world.OneVolume().Volume("1").Announces(line);
    const LaunchSeen seen = world.Run({.before = LeaveNoCore});
    EXPECT_EQ(seen.status, -SIGABRT);
    EXPECT_EQ(seen.out, world.Text(SaysFoundIn("{1}")));
    EXPECT_FALSE(seen.child.started);
    EXPECT_THAT(seen.staged, IsEmpty());
  }
}

}  // namespace
}  // namespace kvl::test
