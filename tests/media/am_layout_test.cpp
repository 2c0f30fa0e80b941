// Scans of a media that is spread over AM volumes: numbered directories with their own markers,
// each of which contains media volumes at the same relative place.

#include "tests/media/scan_checks.h"

namespace kvl::test {
namespace {

/// Makes the first of three volumes, in the first AM volume.
const std::string kFirst = "am/4/sets/a/1: volumes=3 1=SET-A; am/4: 4=AM-A";
const std::string kSecond = "; am/5: 5=AM-A; am/5/sets/a/2: 2=SET-A";
const std::string kThird = "; am/6: 6=AM-A; am/6/sets/a/3: 3=SET-A";

/// What every scan of this media says first, and leaves in the environment.
const std::string kBeginning = R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {am/4/sets/a/1}
       AM volume 4 found in: {am/4}
)";
const std::string kVariables =
    " AMRelativePath=sets/a FirstAMPath={am/4} FirstAMVolume=4 MTBDIR=AM-A VolumesCount=3";

TEST(AmLayout, LooksForEveryVolumeInTheAmVolumesBehindTheFirst) {
  struct Row {
    std::string name;
    std::string further;     ///< behind the first volume
    std::string transcript;  ///< behind the beginning, without the variables
  };
  const std::vector<Row> rows = {
      {"all volumes: their directories in order", kThird + kSecond,
       R"(       AM volume 5 found in: {am/5}
       Volume 2 found in: {am/5/sets/a/2}
       AM volume 6 found in: {am/6}
       Volume 3 found in: {am/6/sets/a/3}
= 3 {am/5/sets/a/2} {am/6/sets/a/3})"},
      {"no further AM volume: fails silently", "", "= 0"},
      {"AM volumes without volumes: fails silently", "; am/5: 5=AM-A; am/6: 6=AM-A",
       R"(       AM volume 5 found in: {am/5}
       AM volume 6 found in: {am/6}
= 0)"},
      {"one of two further volumes: incomplete", "; am/5: 5=AM-A" + kThird,
       R"(       AM volume 5 found in: {am/5}
       AM volume 6 found in: {am/6}
       Volume 3 found in: {am/6/sets/a/3}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {am/6/sets/a/3})"},
      {"an AM volume of another set: not looked into",
       "; am/5: 5=AM-B; am/5/sets/a/2: 2=SET-A" + kThird,
       R"(2> WARN: AM volume 5 of AM-B found in {am/5} instead of AM-A
2>       AM volume 6 found in: {am/6}
2>       Volume 3 found in: {am/6/sets/a/3}
= 0 {am/6/sets/a/3})"},
      {"a volume of another set", "; am/5: 5=AM-A; am/5/sets/a/2: 2=SET-B" + kThird,
       R"(       AM volume 5 found in: {am/5}
2> WARN: Volume 2 of SET-B found in {am/5/sets/a/2} instead of SET-A
2>       AM volume 6 found in: {am/6}
2>       Volume 3 found in: {am/6/sets/a/3}
= 0 {am/6/sets/a/3})"},
      {"a later volume of another set: the found ones stay in the list",
       kSecond + "; am/6: 6=AM-A; am/6/sets/a/3: 3=SET-C",
       R"(       AM volume 5 found in: {am/5}
       Volume 2 found in: {am/5/sets/a/2}
       AM volume 6 found in: {am/6}
2> WARN: Volume 3 of SET-C found in {am/6/sets/a/3} instead of SET-A
= 0 {am/5/sets/a/2})"},
      {"wrong volumes only: not silent", "; am/5: 5=AM-B; am/6: 6=AM-A; am/6/sets/a/3: 3=SET-B",
       R"(2> WARN: AM volume 5 of AM-B found in {am/5} instead of AM-A
2>       AM volume 6 found in: {am/6}
2> WARN: Volume 3 of SET-B found in {am/6/sets/a/3} instead of SET-A
= 0)"},
      {"the tags of media and AM volumes are told apart",
       "; am/5: 5=SET-A; am/6: 6=AM-A; am/6/sets/a/3: 3=AM-A",
       R"(2> WARN: AM volume 5 of SET-A found in {am/5} instead of AM-A
2>       AM volume 6 found in: {am/6}
2> WARN: Volume 3 of AM-A found in {am/6/sets/a/3} instead of SET-A
= 0)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ExpectScan(kFirst + row.further, kBeginning + row.transcript + kVariables);
  }
}

TEST(AmLayout, CountsFromTheNumberOfTheFirstAmVolumeOn) {
  ExpectScan("am/99/x/1: volumes=2 1=SET-A; am/99: 99=AM-A; am/100: 100=AM-A; am/100/x/2: 2=SET-A",
             R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {am/99/x/1}
       AM volume 99 found in: {am/99}
       AM volume 100 found in: {am/100}
       Volume 2 found in: {am/100/x/2}
= 2 {am/100/x/2} AMRelativePath=x FirstAMPath={am/99} FirstAMVolume=99 MTBDIR=AM-A VolumesCount=2)");
}

TEST(AmLayout, DirectlyInTheAmVolumeHasAnEmptyRelativePath) {
  ExpectScan("am/1/1: volumes=2 1=SET-A; am/1: 1=AM-A; am/2: 2=AM-A; am/2/2: 2=SET-A", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {am/1/1}
       AM volume 1 found in: {am/1}
       AM volume 2 found in: {am/2}
       Volume 2 found in: {am/2/2}
= 2 {am/2/2} FirstAMPath={am/1} FirstAMVolume=1 MTBDIR=AM-A VolumesCount=2)");
}

TEST(AmLayout, DoesNotDependOnTheNameOfTheFirstAmVolumesDirectory) {
  ExpectScan(
      "am/first/x/media: volumes=2 1=SET-A; am/first: 7=AM-A; am/8: 8=AM-A; am/8/x/2: 2=SET-A",
      R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {am/first/x/media}
       AM volume 7 found in: {am/first}
       AM volume 8 found in: {am/8}
       Volume 2 found in: {am/8/x/2}
= 2 {am/8/x/2} AMRelativePath=x FirstAMPath={am/first} FirstAMVolume=7 MTBDIR=AM-A VolumesCount=2)");
}

TEST(AmLayout, DoesNotLookIntoAnAmVolumeWithoutAReadableMarker) {
  MediaWorld without, no_tag, directory, other_number;
  no_tag.Volume("am/6").File("6.txt", "MTBDIR=\n");
  directory.Volume("am/6").Dir("6.txt");
  other_number.Volume("am/6").Marker(3, "AM-A");
  for (MediaWorld* world : {&without, &no_tag, &directory, &other_number}) {
    ExpectScan(*world, kFirst + kSecond + "; am/6/sets/a/3: 3=SET-A",
               kBeginning + R"(       AM volume 5 found in: {am/5}
       Volume 2 found in: {am/5/sets/a/2}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {am/5/sets/a/2})" +
                   kVariables);
  }
}

TEST(AmLayout, CountsAVolumeWhoseMarkerCannotBeReadAsAbsent) {
  MediaWorld no_tag, directory, other_place;
  no_tag.Volume("am/6/sets/a/3").File("3.txt", "SET-A\n");
  directory.Volume("am/6/sets/a/3").Dir("3.txt");
  other_place.Volume("am/6/3").Marker(3, "SET-A");
  for (MediaWorld* world : {&no_tag, &directory, &other_place}) {
    ExpectScan(
        *world,
        kFirst + kSecond + "; am/6: 6=AM-A", kBeginning + R"(       AM volume 5 found in: {am/5}
       Volume 2 found in: {am/5/sets/a/2}
       AM volume 6 found in: {am/6}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {am/5/sets/a/2})" + kVariables);
  }
}

/// With relative names, the way into another AM volume leads back into the first one, because
/// MakeRelative finds no common beginning of relative paths. Only a link between them changes that.
TEST(AmLayout, OfARelativeMediaGoesThroughTheRelativePath) {
  MediaWorld world;
  world.Make("am/1/x/1: volumes=2 1=SET-A; am/1: 1=AM-A; other/deep/2: 2=AM-A");
  world.Volume("am").Link("2", "{other/deep/2}");
  const std::string beginning = R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: am/1/x/1
       AM volume 1 found in: am/1
       AM volume 2 found in: am/2
)";
  const std::string variables =
      " AMRelativePath=../../am/1/x FirstAMPath=am/1 FirstAMVolume=1 MTBDIR=AM-A VolumesCount=2";
  ExpectRelativeScan(world, "am/1/x/1", beginning + "= 0" + variables);

  world.Make("other/am/1/x/2: 2=SET-A");
  ExpectRelativeScan(world, "am/1/x/1", beginning + R"(       Volume 2 found in: am/2/../../am/1/x/2
= 2 am/2/../../am/1/x/2)" + variables);
}

}  // namespace
}  // namespace kvl::test
