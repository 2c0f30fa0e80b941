// Every volume in a directory of its own, named by its number, beside the media directory.

#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A media {m/1} of three volumes, without the other two yet.
struct SiblingMedia {
  MediaWorld world;
  VolumeBuilder media = world.Volume("m/1").Announces("3").Marker(1, "SET-A");

  VolumeBuilder Sibling(int number) { return world.Volume("m/" + std::to_string(number)); }

  void ExpectOnScan(const ExpectedScan& expected) {
    ExpectScan(world, world.ScanFrom("m/1"), expected);
  }
};

TEST(SiblingLayout, WithAllVolumesListsTheirDirectoriesInOrder) {
  SiblingMedia siblings;
  siblings.Sibling(3).Marker(3, "SET-A");
  siblings.Sibling(2).Marker(2, "SET-A");
  siblings.ExpectOnScan({.code = 3,
                         .volumes = {"{m/2}", "{m/3}"},
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n"
                                "       Volume 2 found in: {m/2}\n"
                                "       Volume 3 found in: {m/3}\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, DoesNotDependOnTheNameOfTheMediaDirectory) {
  MediaWorld world;
  world.Volume("m/first one").Announces("2").Marker(1, "SET-A");
  world.Volume("m/2").Marker(2, "SET-A");
  ExpectScan(world, world.ScanFrom("m/first one"),
             {.code = 2,
              .volumes = {"{m/2}"},
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {m/first one}\n"
                     "       Volume 2 found in: {m/2}\n",
              .volumes_count = "2",
              .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, CountsVolumesInNumericalOrder) {
  MediaWorld world;
  world.Volume("m/1").Announces("11").Marker(1, "SET-A");
  ExpectedScan expected = {.code = 11,
                           .out =
                               " INFO: This media is composed of 11 volumes.\n"
                               "       Volume 1 found in: {m/1}\n",
                           .volumes_count = "11",
                           .mtb_dir = "SET-A"};
  for (int i = 2; i <= 11; ++i) {
    const std::string number = std::to_string(i);
    world.Volume("m/" + number).Marker(i, "SET-A");
    expected.volumes.push_back("{m/" + number + "}");
    expected.out += "       Volume " + number + " found in: {m/" + number + "}\n";
  }
  ExpectScan(world, world.ScanFrom("m/1"), expected);
}

TEST(SiblingLayout, OfARelativeMediaNamesRelativeDirectories) {
  SiblingMedia siblings;
  siblings.Sibling(2).Marker(2, "SET-A");
  siblings.Sibling(3).Marker(3, "SET-A");
  ExpectScan(siblings.world, ScanRelative(siblings.world, "m/1"),
             {.code = 3,
              .volumes = {"m/2", "m/3"},
              .out = " INFO: This media is composed of 3 volumes.\n"
                     "       Volume 1 found in: m/1\n"
                     "       Volume 2 found in: m/2\n"
                     "       Volume 3 found in: m/3\n",
              .volumes_count = "3",
              .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, WithOneOfTwoFurtherVolumesIsIncomplete) {
  for (const int present : {2, 3}) {
    SiblingMedia siblings;
    siblings.Sibling(present).Marker(present, "SET-A");
    const std::string number = std::to_string(present);
    SCOPED_TRACE(number);
    siblings.ExpectOnScan(
        {.code = 0,
         .volumes = {"{m/" + number + "}"},
         .out = " INFO: This media is composed of 3 volumes.\n"
                "       Volume 1 found in: {m/1}\n"
                "       Volume " +
                number + " found in: {m/" + number + "}\n",
         .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
         .volumes_count = "3",
         .mtb_dir = "SET-A"});
  }
}

TEST(SiblingLayout, AfterAWarningReportsFoundVolumesOnStandardErrorToo) {
  SiblingMedia siblings;
  siblings.Sibling(2).Marker(2, "SET-B");
  siblings.Sibling(3).Marker(3, "SET-A");
  siblings.ExpectOnScan({.code = 0,
                         .volumes = {"{m/3}"},
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n",
                         .err = " WARN: Volume 2 of SET-B found in {m/2} instead of SET-A\n"
                                "       Volume 3 found in: {m/3}\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, WithALaterVolumeOfAnotherSetKeepsTheEarlierOneInTheList) {
  SiblingMedia siblings;
  siblings.Sibling(2).Marker(2, "SET-A");
  siblings.Sibling(3).Marker(3, "SET-B");
  siblings.ExpectOnScan({.code = 0,
                         .volumes = {"{m/2}"},
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n"
                                "       Volume 2 found in: {m/2}\n",
                         .err = " WARN: Volume 3 of SET-B found in {m/3} instead of SET-A\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, ReportsEveryVolumeOfAnotherSet) {
  SiblingMedia siblings;
  siblings.Sibling(2).Marker(2, "SET-B");
  siblings.Sibling(3).Marker(3, "SET-C");
  siblings.ExpectOnScan({.code = 0,
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n",
                         .err = " WARN: Volume 2 of SET-B found in {m/2} instead of SET-A\n"
                                " WARN: Volume 3 of SET-C found in {m/3} instead of SET-A\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, WithAVolumeOfAnotherSetSaysNothingOfMissingOnesNorLooksFurther) {
  SiblingMedia siblings;
  siblings.Sibling(2).Marker(2, "SET-B");
  siblings.world.Volume("m").Marker(5, "AM-A");
  siblings.ExpectOnScan({.code = 0,
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n",
                         .err = " WARN: Volume 2 of SET-B found in {m/2} instead of SET-A\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, CountsADirectoryWithoutItsOwnReadableMarkerAsAbsent) {
  SiblingMedia other_marker, no_tag, directory;
  other_marker.Sibling(3).Marker(2, "SET-A").Marker(1, "SET-A");
  no_tag.Sibling(3).File("3.txt", "MTBDIR=\r\n");
  directory.Sibling(3).Dir("3.txt");
  for (SiblingMedia* siblings : {&other_marker, &no_tag, &directory}) {
    siblings->Sibling(2).Marker(2, "SET-A");
    SCOPED_TRACE(siblings->world.Path("."));
    siblings->ExpectOnScan(
        {.code = 0,
         .volumes = {"{m/2}"},
         .out = " INFO: This media is composed of 3 volumes.\n"
                "       Volume 1 found in: {m/1}\n"
                "       Volume 2 found in: {m/2}\n",
         .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
         .volumes_count = "3",
         .mtb_dir = "SET-A"});
  }
}

TEST(SiblingLayout, FollowsALinkToAVolumesDirectoryAndNamesTheLink) {
  SiblingMedia siblings;
  siblings.world.Volume("elsewhere").Marker(2, "SET-A");
  siblings.world.Volume("m").Link("2", "{elsewhere}");
  siblings.Sibling(3).Marker(3, "SET-A");
  siblings.ExpectOnScan({.code = 3,
                         .volumes = {"{m/2}", "{m/3}"},
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n"
                                "       Volume 2 found in: {m/2}\n"
                                "       Volume 3 found in: {m/3}\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, CompleteIsNotOvertakenByAnAmVolumeAbove) {
  SiblingMedia siblings;
  siblings.world.Volume("m").Marker(5, "AM-A");
  siblings.Sibling(2).Marker(2, "SET-A");
  siblings.Sibling(3).Marker(3, "SET-A");
  siblings.ExpectOnScan({.code = 3,
                         .volumes = {"{m/2}", "{m/3}"},
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n"
                                "       Volume 2 found in: {m/2}\n"
                                "       Volume 3 found in: {m/3}\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

TEST(SiblingLayout, WithTheFirstVolumeAloneGoesOnToAnAmVolumeAbove) {
  SiblingMedia siblings;
  siblings.world.Volume("m").Marker(5, "AM-A");
  siblings.ExpectOnScan({.code = 0,
                         .out = " INFO: This media is composed of 3 volumes.\n"
                                "       Volume 1 found in: {m/1}\n"
                                "       AM volume 5 found in: {m}\n",
                         .volumes_count = "3",
                         .mtb_dir = "AM-A",
                         .first_am_volume = "5",
                         .first_am_path = "{m}"});
}

}  // namespace
}  // namespace kvl::test
