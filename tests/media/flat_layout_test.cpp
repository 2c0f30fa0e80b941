// Scans of a media with all volumes in one directory: the markers 2.txt, 3.txt, ... lie beside
// 1.txt.

#include "tests/media/scan_checks.h"

namespace kvl::test {
namespace {

constexpr char kComplete[] = R"(
 INFO: This media is composed of 3 volumes.
       All volumes found in: {1}
= 1 MTBDIR=SET-A)";

constexpr char kIncomplete[] = R"(
 INFO: This media is composed of 3 volumes.
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 MTBDIR=SET-A VolumesCount=3)";

/// A media {1} of three volumes, of which only the first exists yet.
struct FlatMedia {
  MediaWorld world;
  VolumeBuilder media = world.Volume("1");

  void ExpectOnScan(const std::string& transcript) {
    ExpectScan(world, "1: volumes=3 1=SET-A", transcript);
  }
};

TEST(FlatLayout, WithAllVolumesLooksLikeASingleVolume) {
  ExpectScan("1: volumes=3 1=SET-A 2=SET-A 3=SET-A", kComplete);
}

TEST(FlatLayout, OfTwoVolumesIsComplete) {
  MediaWorld world;
  world.Volume("a b").Marker(1, "SET A").Marker(2, "SET A");
  ExpectScan(world, "a b: volumes=2", R"(
 INFO: This media is composed of 2 volumes.
       All volumes found in: {a b}
= 1 MTBDIR=SET A)");
}

TEST(FlatLayout, OfTwelveVolumesReadsNumbersWithoutLeadingZeros) {
  ExpectScan("1: volumes=12 1=S 2=S 3=S 4=S 5=S 6=S 7=S 8=S 9=S 10=S 11=S 12=S", R"(
 INFO: This media is composed of 12 volumes.
       All volumes found in: {1}
= 1 MTBDIR=S)");
}

TEST(FlatLayout, DoesNotLookAtMarkersBeyondTheCount) {
  ExpectScan("1: volumes=3 1=SET-A 2=SET-A 3=SET-A 4=SET-B 0=SET-B", kComplete);
}

TEST(FlatLayout, WithOneOfTwoFurtherVolumesIsIncomplete) {
  ExpectScan("1: volumes=3 1=SET-A 2=SET-A", kIncomplete);
  ExpectScan("1: volumes=3 1=SET-A 3=SET-A", kIncomplete);
}

TEST(FlatLayout, ReportsEveryVolumeOfAnotherSet) {
  ExpectScan("1: volumes=3 1=SET-A 2=SET-B 3=SET-C", R"(
 INFO: This media is composed of 3 volumes.
2> WARN: Volume 2 of SET-B found in the directory of SET-A
2> WARN: Volume 3 of SET-C found in the directory of SET-A
= 0 MTBDIR=SET-A VolumesCount=3)");
}

TEST(FlatLayout, WithAVolumeOfAnotherSetSaysNothingOfMissingOnes) {
  ExpectScan("1: volumes=3 1=SET-A 3=SET-B", R"(
 INFO: This media is composed of 3 volumes.
2> WARN: Volume 3 of SET-B found in the directory of SET-A
= 0 MTBDIR=SET-A VolumesCount=3)");
}

TEST(FlatLayout, ComparesTagsByteByByte) {
  const std::string zero("\0", 1);
  for (const std::string& other : {std::string("set-a"), std::string("SET-A "), std::string("SET-"),
                                   "SET-A" + zero, std::string("SET-A\xff")}) {
    FlatMedia flat;
    flat.media.Marker(2, "SET-A").Marker(3, other);
    flat.ExpectOnScan("\n INFO: This media is composed of 3 volumes.\n2> WARN: Volume 3 of " +
                      other + " found in the directory of SET-A\n= 0 MTBDIR=SET-A VolumesCount=3");
  }
}

TEST(FlatLayout, TakesAMarkerWithCarriageReturnsForTheSameSet) {
  FlatMedia flat;
  flat.media.File("2.txt", "MTBDIR=SET-A\r\n").File("3.txt", "TITLE=x\r\nMTBDIR=SET-A");
  flat.ExpectOnScan(kComplete);
}

TEST(FlatLayout, CountsAMarkerWithoutATagAsAbsent) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-A").File("3.txt", "MTBDIR=\n");
  flat.ExpectOnScan(kIncomplete);
  flat.media.File("3.txt", "mtbdir=SET-A\n");
  flat.ExpectOnScan(kIncomplete);
}

TEST(FlatLayout, CountsAMarkerThatCannotBeReadAsAbsent) {
  FlatMedia directory, dangling, closed;
  directory.media.Dir("3.txt");
  dangling.media.Link("3.txt", "{nowhere}");
  MakeUnopenable(closed.world.Path("1/3.txt"));
  for (FlatMedia* flat : {&directory, &dangling, &closed}) {
    flat->media.Marker(2, "SET-A");
    flat->ExpectOnScan(kIncomplete);
  }
}

TEST(FlatLayout, TakesLinksToMarkers) {
  FlatMedia flat;
  flat.world.Make("other: 2=SET-A");
  flat.media.Link("2.txt", "{other/2.txt}").Link("3.txt", "1.txt");
  flat.ExpectOnScan(kComplete);
}

TEST(FlatLayout, OnceBegunKeepsTheScanFromCompleteSiblings) {
  ExpectScan("1: volumes=3 1=SET-A 2=SET-A; 2: 2=SET-A; 3: 3=SET-A", kIncomplete);
  ExpectScan("1: volumes=3 1=SET-A 2=SET-B; 2: 2=SET-A; 3: 3=SET-A", R"(
 INFO: This media is composed of 3 volumes.
2> WARN: Volume 2 of SET-B found in the directory of SET-A
= 0 MTBDIR=SET-A VolumesCount=3)");
}

}  // namespace
}  // namespace kvl::test
