// All volumes in one directory: the markers 2.txt, 3.txt, ... beside 1.txt.

#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A media {1} of three volumes, none but the first one there yet.
struct FlatMedia {
  MediaWorld world;
  VolumeBuilder media = world.Volume("1").Announces("3").Marker(1, "SET-A");

  void ExpectOnScan(const ExpectedScan& expected) {
    ExpectScan(world, world.ScanFrom("1"), expected);
  }
};

TEST(FlatLayout, WithAllVolumesLooksLikeASingleVolume) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-A").Marker(3, "SET-A");
  flat.ExpectOnScan({.code = 1,
                     .out = " INFO: This media is composed of 3 volumes.\n"
                            "       All volumes found in: {1}\n",
                     .volumes_count = "",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, OfTwoVolumesIsComplete) {
  MediaWorld world;
  world.Volume("a b").Announces("2").Marker(1, "SET A").Marker(2, "SET A");
  ExpectScan(world, world.ScanFrom("a b"),
             {.code = 1,
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       All volumes found in: {a b}\n",
              .mtb_dir = "SET A"});
}

TEST(FlatLayout, OfTwelveVolumesReadsNumbersWithoutLeadingZeros) {
  MediaWorld world;
  auto media = world.Volume("1").Announces("12");
  for (int i = 1; i <= 12; ++i) media.Marker(i, "SET-A");
  ExpectScan(world, world.ScanFrom("1"),
             {.code = 1,
              .out = " INFO: This media is composed of 12 volumes.\n"
                     "       All volumes found in: {1}\n",
              .mtb_dir = "SET-A"});
}

TEST(FlatLayout, DoesNotLookAtMarkersBeyondTheCount) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-A").Marker(3, "SET-A").Marker(4, "SET-B").Marker(0, "SET-B");
  flat.ExpectOnScan({.code = 1,
                     .out = " INFO: This media is composed of 3 volumes.\n"
                            "       All volumes found in: {1}\n",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, WithOneOfTwoFurtherVolumesIsIncomplete) {
  for (const int present : {2, 3}) {
    FlatMedia flat;
    flat.media.Marker(present, "SET-A");
    SCOPED_TRACE(present);
    flat.ExpectOnScan(
        {.code = 0,
         .out = " INFO: This media is composed of 3 volumes.\n",
         .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
         .volumes_count = "3",
         .mtb_dir = "SET-A"});
  }
}

TEST(FlatLayout, WithAVolumeOfAnotherSetFails) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-B").Marker(3, "SET-A");
  flat.ExpectOnScan({.code = 0,
                     .out = " INFO: This media is composed of 3 volumes.\n",
                     .err = " WARN: Volume 2 of SET-B found in the directory of SET-A\n",
                     .volumes_count = "3",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, ReportsEveryVolumeOfAnotherSet) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-B").Marker(3, "SET-C");
  flat.ExpectOnScan({.code = 0,
                     .out = " INFO: This media is composed of 3 volumes.\n",
                     .err = " WARN: Volume 2 of SET-B found in the directory of SET-A\n"
                            " WARN: Volume 3 of SET-C found in the directory of SET-A\n",
                     .volumes_count = "3",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, WithAVolumeOfAnotherSetSaysNothingOfMissingOnes) {
  FlatMedia flat;
  flat.media.Marker(3, "SET-B");
  flat.ExpectOnScan({.code = 0,
                     .out = " INFO: This media is composed of 3 volumes.\n",
                     .err = " WARN: Volume 3 of SET-B found in the directory of SET-A\n",
                     .volumes_count = "3",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, ComparesTagsByteByByte) {
  const std::string zero("\0", 1);
  for (const std::string& other : {std::string("set-a"), std::string("SET-A "), std::string("SET-"),
                                   "SET-A" + zero, std::string("SET-A\xff")}) {
    FlatMedia flat;
    flat.media.Marker(2, "SET-A").Marker(3, other);
    SCOPED_TRACE(other);
    flat.ExpectOnScan({.code = 0,
                       .out = " INFO: This media is composed of 3 volumes.\n",
                       .err = " WARN: Volume 3 of " + other + " found in the directory of SET-A\n",
                       .volumes_count = "3",
                       .mtb_dir = "SET-A"});
  }
}

TEST(FlatLayout, TakesAMarkerWithCarriageReturnsForTheSameSet) {
  FlatMedia flat;
  flat.media.File("2.txt", "MTBDIR=SET-A\r\n").File("3.txt", "TITLE=x\r\nMTBDIR=SET-A");
  flat.ExpectOnScan({.code = 1,
                     .out = " INFO: This media is composed of 3 volumes.\n"
                            "       All volumes found in: {1}\n",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, CountsAMarkerWithoutATagAsAbsent) {
  FlatMedia flat;
  flat.media.Marker(2, "SET-A").File("3.txt", "MTBDIR=\n");
  const ExpectedScan incomplete = {
      .code = 0,
      .out = " INFO: This media is composed of 3 volumes.\n",
      .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
      .volumes_count = "3",
      .mtb_dir = "SET-A"};
  flat.ExpectOnScan(incomplete);
  flat.media.File("3.txt", "mtbdir=SET-A\n");
  flat.ExpectOnScan(incomplete);
}

TEST(FlatLayout, CountsAMarkerThatCannotBeReadAsAbsent) {
  const auto expect_incomplete = [](FlatMedia& flat) {
    flat.ExpectOnScan(
        {.code = 0,
         .out = " INFO: This media is composed of 3 volumes.\n",
         .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
         .volumes_count = "3",
         .mtb_dir = "SET-A"});
  };
  FlatMedia directory, dangling, closed;
  directory.media.Marker(2, "SET-A").Dir("3.txt");
  expect_incomplete(directory);
  dangling.media.Marker(2, "SET-A").Link("3.txt", "{nowhere}");
  expect_incomplete(dangling);
  closed.media.Marker(2, "SET-A");
  MakeUnopenable(closed.world.Path("1/3.txt"));
  expect_incomplete(closed);
}

TEST(FlatLayout, TakesLinksToMarkers) {
  FlatMedia flat;
  flat.world.Volume("other").Marker(2, "SET-A");
  flat.media.Link("2.txt", "{other/2.txt}").Link("3.txt", "1.txt");
  flat.ExpectOnScan({.code = 1,
                     .out = " INFO: This media is composed of 3 volumes.\n"
                            "       All volumes found in: {1}\n",
                     .mtb_dir = "SET-A"});
}

TEST(FlatLayout, OnceBegunKeepsTheScanFromCompleteSiblings) {
  FlatMedia incomplete;
  incomplete.media.Marker(2, "SET-A");
  FlatMedia mixed_up;
  mixed_up.media.Marker(2, "SET-B");
  for (FlatMedia* flat : {&incomplete, &mixed_up}) {
    flat->world.Volume("2").Marker(2, "SET-A");
    flat->world.Volume("3").Marker(3, "SET-A");
  }
  incomplete.ExpectOnScan(
      {.code = 0,
       .out = " INFO: This media is composed of 3 volumes.\n",
       .err = " WARN: Missing volumes. Please make sure you copied everything correctly.\n",
       .volumes_count = "3",
       .mtb_dir = "SET-A"});
  mixed_up.ExpectOnScan({.code = 0,
                         .out = " INFO: This media is composed of 3 volumes.\n",
                         .err = " WARN: Volume 2 of SET-B found in the directory of SET-A\n",
                         .volumes_count = "3",
                         .mtb_dir = "SET-A"});
}

}  // namespace
}  // namespace kvl::test
