// Scans of a media with every volume in a directory of its own, named by its number, beside the
// media directory.

#include "tests/media/scan_checks.h"

namespace kvl::test {
namespace {

constexpr char kCompleteSiblings[] = R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       Volume 2 found in: {m/2}
       Volume 3 found in: {m/3}
= 3 {m/2} {m/3} MTBDIR=SET-A VolumesCount=3)";

constexpr char kThirdIsMissing[] = R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       Volume 2 found in: {m/2}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {m/2} MTBDIR=SET-A VolumesCount=3)";

TEST(SiblingLayout, WithAllVolumesListsTheirDirectoriesInOrder) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/3: 3=SET-A; m/2: 2=SET-A", kCompleteSiblings);
}

TEST(SiblingLayout, DoesNotDependOnTheNameOfTheMediaDirectory) {
  ExpectScan("m/first one: volumes=2 1=SET-A; m/2: 2=SET-A", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {m/first one}
       Volume 2 found in: {m/2}
= 2 {m/2} MTBDIR=SET-A VolumesCount=2)");
}

TEST(SiblingLayout, OfARelativeMediaNamesRelativeDirectories) {
  MediaWorld world;
  world.Make("m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/3: 3=SET-A");
  ExpectRelativeScan(world, "m/1", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: m/1
       Volume 2 found in: m/2
       Volume 3 found in: m/3
= 3 m/2 m/3 MTBDIR=SET-A VolumesCount=3)");
}

TEST(SiblingLayout, WithOneOfTwoFurtherVolumesIsIncomplete) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/2: 2=SET-A", kThirdIsMissing);
  ExpectScan("m/1: volumes=3 1=SET-A; m/3: 3=SET-A", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       Volume 3 found in: {m/3}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {m/3} MTBDIR=SET-A VolumesCount=3)");
}

TEST(SiblingLayout, AfterAWarningReportsFoundVolumesOnStandardErrorToo) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/2: 2=SET-B; m/3: 3=SET-A", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
2> WARN: Volume 2 of SET-B found in {m/2} instead of SET-A
2>       Volume 3 found in: {m/3}
= 0 {m/3} MTBDIR=SET-A VolumesCount=3)");
}

TEST(SiblingLayout, KeepsTheVolumesBeforeOneOfAnotherSet) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/3: 3=SET-B", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       Volume 2 found in: {m/2}
2> WARN: Volume 3 of SET-B found in {m/3} instead of SET-A
= 0 {m/2} MTBDIR=SET-A VolumesCount=3)");
}

TEST(SiblingLayout, OfMixedSetsNamesNoMissingVolumeAndLooksNoFurther) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/2: 2=SET-B; m: 5=AM-A", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
2> WARN: Volume 2 of SET-B found in {m/2} instead of SET-A
= 0 MTBDIR=SET-A VolumesCount=3)");
}

TEST(SiblingLayout, TakesAVolumeWithoutAReadableMarkerForAbsent) {
  MediaWorld other_marker, no_tag, directory;
  other_marker.Volume("m/3").Marker(2, "SET-A").Marker(1, "SET-A");
  no_tag.Volume("m/3").File("3.txt", "MTBDIR=\r\n");
  directory.Volume("m/3").Dir("3.txt");
  for (MediaWorld* world : {&other_marker, &no_tag, &directory}) {
    ExpectScan(*world, "m/1: volumes=3 1=SET-A; m/2: 2=SET-A", kThirdIsMissing);
  }
}

TEST(SiblingLayout, FollowsALinkToAVolumesDirectoryAndNamesTheLink) {
  MediaWorld world;
  world.Volume("m").Link("2", "{elsewhere}");
  ExpectScan(world, "m/1: volumes=3 1=SET-A; elsewhere: 2=SET-A; m/3: 3=SET-A", kCompleteSiblings);
}

TEST(SiblingLayout, IfCompletePrecedesAnAmVolumeAbove) {
  ExpectScan("m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/3: 3=SET-A; m: 5=AM-A", kCompleteSiblings);
}

TEST(SiblingLayout, WithTheFirstVolumeAloneGoesOnToAnAmVolumeAbove) {
  ExpectScan("m/1: volumes=3 1=SET-A; m: 5=AM-A", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       AM volume 5 found in: {m}
= 0 FirstAMPath={m} FirstAMVolume=5 MTBDIR=AM-A VolumesCount=3)");
}

}  // namespace
}  // namespace kvl::test
