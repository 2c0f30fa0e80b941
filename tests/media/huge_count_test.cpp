// Media that announce so many volumes that nobody can look for each: the answer is the one that
// trying every number would give, and depends in its time on what is there alone.

#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kComposed[] = " INFO: This media is composed of 2147483647 volumes.\n";

TEST(HugeCount, InTheFlatLayoutFindsSomeOfTheVolumes) {
  MediaWorld world;
  world.Volume("m").Announces("2147483647").Marker(1, "SET-A").Marker(2147483647, "SET-A");
  world.Volume("m").Marker(40, "").File("02.txt", "MTBDIR=SET-B\n");
  ExpectScan(world, world.ScanFrom("m"),
             {.out = kComposed,
              .err = kMissingVolumes,
              .volumes_count = "2147483647",
              .mtb_dir = "SET-A"});
}

TEST(HugeCount, InTheFlatLayoutReportsForeignVolumesInNumericalOrder) {
  MediaWorld world;
  world.Volume("m").Announces("2147483647").Marker(1, "SET-A").Marker(2, "SET-A");
  world.Volume("m").Marker(1000000, "SET-B").Marker(999, "SET-C");
  ExpectScan(world, world.ScanFrom("m"),
             {.out = kComposed,
              .err = " WARN: Volume 999 of SET-C found in the directory of SET-A\n"
                     " WARN: Volume 1000000 of SET-B found in the directory of SET-A\n",
              .volumes_count = "2147483647",
              .mtb_dir = "SET-A"});
}

TEST(HugeCount, InTheSiblingLayoutFindsSomeOfTheVolumes) {
  MediaWorld world;
  world.Volume("m/1").Announces("2147483647").Marker(1, "SET-A");
  world.Volume("m/2147483647").Marker(2147483647, "SET-A");
  world.Volume("m/500").Marker(500, "SET-A");
  world.Volume("m/3").Marker(2, "SET-A");  // no marker of its own
  world.Volume("m/empty");
  ExpectScan(world, world.ScanFrom("m/1"),
             {.volumes = {"{m/500}", "{m/2147483647}"},
              .out = kComposed + std::string("       Volume 1 found in: {m/1}\n"
                                             "       Volume 500 found in: {m/500}\n"
                                             "       Volume 2147483647 found in: {m/2147483647}\n"),
              .err = kMissingVolumes,
              .volumes_count = "2147483647",
              .mtb_dir = "SET-A"});
}

TEST(HugeCount, InTheAmLayoutFindsSomeOfTheVolumes) {
  MediaWorld world;
  world.Volume("am/9/sets/1").Announces("2147483647").Marker(1, "SET-A");
  world.Volume("am/9").Marker(9, "AM-A");
  world.Volume("am/10").Marker(10, "AM-A");
  world.Volume("am/10/sets/2").Marker(2, "SET-A");
  world.Volume("am/1008").Marker(1008, "AM-A");
  world.Volume("am/8").Marker(8, "AM-A");                                 // before the first one
  world.Volume("am/2147483656").File("2147483656.txt", "MTBDIR=AM-A\n");  // behind the last one
  world.Volume("am/2147483655").File("2147483655.txt", "MTBDIR=AM-A\n");
  world.Volume("am/2147483655/sets/2147483647").Marker(2147483647, "SET-A");
  ExpectScan(world, world.ScanFrom("am/9/sets/1"),
             {.volumes = {"{am/10/sets/2}", "{am/2147483655/sets/2147483647}"},
              .out = kComposed + std::string("       Volume 1 found in: {am/9/sets/1}\n"
                                             "       AM volume 9 found in: {am/9}\n"
                                             "       AM volume 10 found in: {am/10}\n"
                                             "       Volume 2 found in: {am/10/sets/2}\n"
                                             "       AM volume 1008 found in: {am/1008}\n"
                                             "       AM volume 2147483655 found in: "
                                             "{am/2147483655}\n"
                                             "       Volume 2147483647 found in: "
                                             "{am/2147483655/sets/2147483647}\n"),
              .err = kMissingVolumes,
              .volumes_count = "2147483647",
              .mtb_dir = "AM-A",
              .first_am_volume = "9",
              .first_am_path = "{am/9}",
              .am_relative_path = "sets"});
}

TEST(HugeCount, OfAnEmptyMediaDirectoryIsLookedForInTheRoot) {
  MediaWorld world;
  world.Volume(".").Announces("2147483647").Marker(1, "SET-A");
  world.Volume("77").Marker(77, "SET-A");
  const auto seen = ScanInOwnRoot(world, "");
  if (!seen) GTEST_SKIP() << kCannotChangeRoot;
  ExpectScan(world, *seen,
             {.volumes = {"/77"},
              .out = kComposed + std::string("       Volume 1 found in: \n"
                                             "       Volume 77 found in: /77\n"),
              .err = kMissingVolumes,
              .volumes_count = "2147483647",
              .mtb_dir = "SET-A"});
}

constexpr int kManyVolumes = 150;

TEST(ManyVolumes, AllInTheMediaDirectoryAreCounted) {
  MediaWorld world;
  world.Volume("m").Announces("150");
  for (int i = 1; i <= kManyVolumes; ++i) world.Volume("m").Marker(i, "SET-A");
  ExpectScan(world, world.ScanFrom("m"),
             {.code = 1,
              .out = " INFO: This media is composed of 150 volumes.\n"
                     "       All volumes found in: {m}\n",
              .mtb_dir = "SET-A"});
}

TEST(ManyVolumes, AllBesideTheMediaDirectoryAreListedInNumericalOrder) {
  MediaWorld world;
  world.Volume("m/1").Announces("150");
  ExpectedScan expected = {.code = kManyVolumes,
                           .out = " INFO: This media is composed of 150 volumes.\n",
                           .volumes_count = "150",
                           .mtb_dir = "SET-A"};
  for (int i = 1; i <= kManyVolumes; ++i) {
    const std::string number = std::to_string(i), place = "{m/" + number + "}";
    world.Volume("m/" + number).Marker(i, "SET-A");
    expected.out.append("       Volume ").append(number).append(" found in: ").append(place + "\n");
    if (i > 1) expected.volumes.push_back(place);
  }
  ExpectScan(world, world.ScanFrom("m/1"), expected);
}

}  // namespace
}  // namespace kvl::test
