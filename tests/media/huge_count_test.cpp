// Media that announce more volumes than anybody can look for one by one. The scan answers as if it
// had tried every number, but its time depends only on the entries that exist.

#include "tests/media/scan_checks.h"

namespace kvl::test {
namespace {

TEST(HugeCount, InTheFlatLayoutFindsSomeOfTheVolumes) {
  ExpectScan("m: volumes=2147483647 1=SET-A 2147483647=SET-A 40= 02=SET-B", R"(
 INFO: This media is composed of 2147483647 volumes.
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 MTBDIR=SET-A VolumesCount=2147483647)");
}

TEST(HugeCount, InTheFlatLayoutReportsForeignVolumesInNumericalOrder) {
  ExpectScan("m: volumes=2147483647 1=SET-A 2=SET-A 1000000=SET-B 999=SET-C", R"(
 INFO: This media is composed of 2147483647 volumes.
2> WARN: Volume 999 of SET-C found in the directory of SET-A
2> WARN: Volume 1000000 of SET-B found in the directory of SET-A
= 0 MTBDIR=SET-A VolumesCount=2147483647)");
}

/// {m/3} has no marker of its own.
TEST(HugeCount, InTheSiblingLayoutFindsSomeOfTheVolumes) {
  ExpectScan(
      "m/1: volumes=2147483647 1=SET-A; m/2147483647: 2147483647=SET-A; m/500: 500=SET-A; "
      "m/3: 2=SET-A; m/empty:",
      R"(
 INFO: This media is composed of 2147483647 volumes.
       Volume 1 found in: {m/1}
       Volume 500 found in: {m/500}
       Volume 2147483647 found in: {m/2147483647}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {m/500} {m/2147483647} MTBDIR=SET-A VolumesCount=2147483647)");
}

/// AM volume 8 comes before the first one, AM volume 2147483656 after the last one.
TEST(HugeCount, InTheAmLayoutFindsSomeOfTheVolumes) {
  ExpectScan(
      "am/9/sets/1: volumes=2147483647 1=SET-A; am/9: 9=AM-A; am/10: 10=AM-A; "
      "am/10/sets/2: 2=SET-A; am/1008: 1008=AM-A; am/8: 8=AM-A; am/2147483656: 2147483656=AM-A; "
      "am/2147483655: 2147483655=AM-A; am/2147483655/sets/2147483647: 2147483647=SET-A",
      R"(
 INFO: This media is composed of 2147483647 volumes.
       Volume 1 found in: {am/9/sets/1}
       AM volume 9 found in: {am/9}
       AM volume 10 found in: {am/10}
       Volume 2 found in: {am/10/sets/2}
       AM volume 1008 found in: {am/1008}
       AM volume 2147483655 found in: {am/2147483655}
       Volume 2147483647 found in: {am/2147483655/sets/2147483647}
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 {am/10/sets/2} {am/2147483655/sets/2147483647} AMRelativePath=sets FirstAMPath={am/9})"
      " FirstAMVolume=9 MTBDIR=AM-A VolumesCount=2147483647");
}

TEST(HugeCount, OfAnEmptyMediaDirectoryIsLookedForInTheRoot) {
  MediaWorld world;
  world.Make(".: volumes=2147483647 1=SET-A; 77: 77=SET-A");
  ExpectScanInOwnRoot(world, "", R"(
 INFO: This media is composed of 2147483647 volumes.
       Volume 1 found in: 
       Volume 77 found in: /77
2> WARN: Missing volumes. Please make sure you copied everything correctly.
= 0 /77 MTBDIR=SET-A VolumesCount=2147483647)");
}

/// So many that the scan lists the directory.
constexpr int kManyVolumes = 150;

TEST(ManyVolumes, AllInTheMediaDirectoryAreCounted) {
  std::string media = "m: volumes=150";
  for (int i = 1; i <= kManyVolumes; ++i) media += " " + std::to_string(i) + "=SET-A";
  ExpectScan(media, R"(
 INFO: This media is composed of 150 volumes.
       All volumes found in: {m}
= 1 MTBDIR=SET-A)");
}

TEST(ManyVolumes, AllBesideTheMediaDirectoryAreListedInNumericalOrder) {
  std::string media = "m/1: volumes=150 1=S", lines = "       Volume 1 found in: {m/1}\n", list;
  for (int i = 2; i <= kManyVolumes; ++i) {
    const std::string number = std::to_string(i), place = "m/" + number;
    media.append("; ").append(place).append(": ").append(number).append("=S");
    lines.append("       Volume ").append(number).append(" found in: {").append(place + "}\n");
    list.append(" {").append(place).append("}");
  }
  ExpectScan(media, "\n INFO: This media is composed of 150 volumes.\n" + lines + "= 150" + list +
                        " MTBDIR=S VolumesCount=150");
}

}  // namespace
}  // namespace kvl::test
