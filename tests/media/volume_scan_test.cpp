// What a scan does before it tries the layouts, and media at the ends of the file system. Each
// layout has its own tests.
#include "media/volume_scan.h"

#include "tests/media/scan_checks.h"
#include "tests/support/system_faults.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// The transcript of a silently complete media.
constexpr char kSilentlyComplete[] = "\n= 1";
constexpr char kSilentlyFailed[] = "\n= 0";

TEST(ScanOutcome, IsAFailureByDefault) {
  const ScanOutcome outcome;
  EXPECT_EQ(outcome.code, kScanFailed);
  EXPECT_FALSE(outcome.complete);
}

TEST(ScanMediaVolumes, WithoutVolumesTxtIsComplete) {
  MediaWorld world;
  world.Make("empty:; marked/inst:; marked: 1=SET-A 2=SET-A");
  world.Volume("odd").File("inst", "not a directory");
  world.Volume("dangling").Link("inst/volumes.txt", "{nowhere}");
  for (const char* name : {"empty", "marked", "odd", "dangling", "missing"}) {
    SCOPED_TRACE(name);
    ExpectScan(world, name, kSilentlyComplete);
  }
}

TEST(ScanMediaVolumes, InSoftwareManagementDoesNotOpenVolumesTxt) {
  MediaWorld world;
  world.Make("1: volumes=no_number 1=SET-A");
  const BeforeOpen never(world.Path("1/inst/volumes.txt"), [] { ADD_FAILURE(); });
  ExpectScan(world, "1", kSilentlyComplete, {}, /*is_software_management=*/true);
}

TEST(ScanMediaVolumes, FromAnOnlineRepositoryDoesNotOpenVolumesTxt) {
  MediaWorld world;
  world.Make("1: volumes=no_number 1=SET-A");
  const BeforeOpen never(world.Path("1/inst/volumes.txt"), [] { ADD_FAILURE(); });
  for (const char* value : {"http://repository", "0", " "}) {
    SCOPED_TRACE(value);
    ExpectScan(world, "1", kSilentlyComplete, {{"KVL_Online_Installation_Caf_Repositiory", value}});
  }
}

TEST(ScanMediaVolumes, ReadsVolumesTxtWithoutARepositoryOfThatName) {
  MediaWorld world;
  world.Make("1: volumes=2 1=SET-A 2=SET-A");
  for (const Environment& env :
       {Environment{{"KVL_Online_Installation_Caf_Repositiory", ""}},
        Environment{{"KVL_Online_Installation_Caf_Repository", "http://repository"}}}) {
    ExpectScan(world, "1", R"(
 INFO: This media is composed of 2 volumes.
       All volumes found in: {1}
= 1 MTBDIR=SET-A)",
               env);
  }
}

TEST(ScanMediaVolumes, FailsSilentlyWhenVolumesTxtCannotBeRead) {
  MediaWorld world;
  world.Make("empty: 1=SET-A; directory: 1=SET-A; closed: 1=SET-A; closed/inst:; pipe: 1=SET-A");
  world.Volume("empty").File("inst/volumes.txt", "");
  world.Volume("directory").Dir("inst/volumes.txt");
  MakeUnopenable(world.Path("closed/inst/volumes.txt"));
  world.Directory().Pipe("pipe/inst/volumes.txt");
  for (const char* name : {"empty", "directory", "closed", "pipe"}) {
    SCOPED_TRACE(name);
    ExpectScan(world, name, kSilentlyFailed);
  }
}

TEST(ScanMediaVolumes, OfOneVolumeOrLessIsSilentlyComplete) {
  for (const char* contents : {"1\n", "1", "1\r\n", "0\n", "-1\n", "-2147483648\n", " 1\n", "+1\n",
                               "1 volume\n", "01\n", "1\n3\n", "0x3\n", "1.9\n", "-0\n"}) {
    MediaWorld world;
    world.Volume("1").File("inst/volumes.txt", contents);
    SCOPED_TRACE(contents);
    ExpectScan(world, "1", kSilentlyComplete);
  }
}

TEST(ScanMediaVolumes, ShowsTheFirstLineOfVolumesTxtAsItStands) {
  const std::map<std::string, std::string> shown = {
      {"3\n", "3"},     {"3", "3"},       {"3\r\n", "3"},     {"3\r\r\n", "3\r"},
      {"3 \n", "3 "},   {" 3\n", " 3"},   {"\t3\n", "\t3"},   {"+3\n", "+3"},
      {"003\n", "003"}, {"3.9\n", "3.9"}, {"3abc\n", "3abc"}, {"3 volumes\n", "3 volumes"},
      {"3\n1\n", "3"},  {"3-1\n", "3-1"}};
  for (const auto& [contents, line] : shown) {
    MediaWorld world;
    world.Make("1: 1=SET-A; 2: 2=SET-A; 3: 3=SET-A");
    world.Volume("1").File("inst/volumes.txt", contents);
    SCOPED_TRACE(contents);
    ExpectScan(world, "1",
               "\n INFO: This media is composed of " + line + R"( volumes.
       Volume 1 found in: {1}
       Volume 2 found in: {2}
       Volume 3 found in: {3}
= 3 {2} {3} MTBDIR=SET-A VolumesCount=)" +
                   line);
  }
}

TEST(ScanMediaVolumes, ThrowsWhenVolumesTxtDoesNotBeginWithAnInt) {
  const std::map<std::string, std::vector<std::string>> rows = {
      {"\n= invalid argument: stoi",
       {"abc\n", "\n", "\n3\n", "\r\n", " \n", "-\n", "+\n", "volumes 3\n", "- 3\n", "\xff 3\n"}},
      {"\n= out of range: stoi",
       {"99999999999\n", "2147483648\n", "-2147483649\n", "99999999999999999999999\n",
        "2147483648 volumes\n"}}};
  for (const auto& [transcript, volumes_files] : rows) {
    for (const std::string& contents : volumes_files) {
      MediaWorld world;
      world.Volume("1").File("inst/volumes.txt", contents);
      SCOPED_TRACE(contents);
      ExpectScan(world, "1", transcript);
    }
  }
}

/// Without the marker of volume 1, the scan tries none of the numbers.
TEST(ScanMediaVolumes, TakesTheGreatestIntForACount) {
  ExpectScan("1: volumes=2147483647", R"(
 INFO: This media is composed of 2147483647 volumes.
2> WARN: 1.txt not found or not accessible in: {1}
2>       Please make sure you copied the whole volume.
= 0 VolumesCount=2147483647)");
}

TEST(ScanMediaVolumes, FailsWithoutATagInTheFirstMarker) {
  MediaWorld world;
  world.Volume("no line").File("1.txt", "SET-A\n");
  world.Volume("no tag").File("1.txt", "MTBDIR=\r\n");
  world.Volume("blank before").File("1.txt", " MTBDIR=SET-A\n");
  world.Volume("lower case").File("1.txt", "mtbdir=SET-A\n");
  world.Volume("directory").Dir("1.txt");
  world.Volume("dangling").Link("1.txt", "{nowhere}");
  world.Volume("closed");
  MakeUnopenable(world.Path("closed/1.txt"));
  for (const std::string name : {"missing", "no line", "no tag", "blank before", "lower case",
                                 "directory", "dangling", "closed"}) {
    ExpectScan(world, name + ": volumes=2 2=SET-A",
               R"(
 INFO: This media is composed of 2 volumes.
2> WARN: 1.txt not found or not accessible in: {)" +
                   name + R"(}
2>       Please make sure you copied the whole volume.
= 0 VolumesCount=2)");
  }
}

TEST(ScanMediaVolumes, EmptiesItsVariablesInTheCallersEnvironment) {
  const Environment old = {
      {"KVLAdmInstVolumesCount", "7"},     {"KVLAdmInstMTBDIR", "OLD"},
      {"KVLAdmInstFirstAMVolume", "7"},    {"KVLAdmInstFirstAMPath", "/old"},
      {"KVLAdmInstAMRelativePath", "old"}, {"KVLAdmInstVolumePath_2", "/old/2"},
      {"CurrentMediaDir", "/old/1"}};
  MediaWorld world;
  world.Volume("no volumes");
  world.Volume("unreadable").Dir("inst/volumes.txt");
  ExpectScan(world, "no volumes", kSilentlyComplete, old);
  ExpectScan(world, "unreadable", kSilentlyFailed, old);
}

TEST(ScanMediaVolumes, LeavesTheMediaAsItIs) {
  MediaWorld world;
  world.Make("m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/3: 3=SET-B");
  const std::vector<std::string> before = DescribeTreeExactly(world.Path("."));
  ExpectScan(world, "m/1", R"(
 INFO: This media is composed of 3 volumes.
       Volume 1 found in: {m/1}
       Volume 2 found in: {m/2}
2> WARN: Volume 3 of SET-B found in {m/3} instead of SET-A
= 0 {m/2} MTBDIR=SET-A VolumesCount=3)");
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(ScanMediaVolumes, OfAnEmptyDirectoryLooksInTheRoot) {
  MediaWorld world;
  ExpectScanInOwnRoot(world, "", kSilentlyComplete);
  world.Make(".: volumes=2 1=SET-A");
  ExpectScanInOwnRoot(world, "", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: 
= 0 MTBDIR=SET-A VolumesCount=2)");
  world.Make("2: 2=SET-A");
  ExpectScanInOwnRoot(world, "", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: 
       Volume 2 found in: /2
= 2 /2 MTBDIR=SET-A VolumesCount=2)");
}

TEST(ScanMediaVolumes, OfTheRootDirectoryFindsItsVolumesInIt) {
  MediaWorld world;
  world.Make(".: volumes=2 1=SET-A");
  ExpectScanInOwnRoot(world, "/", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: /
= 0 MTBDIR=SET-A VolumesCount=2)");
  world.Make(".: 2=SET-A");
  ExpectScanInOwnRoot(world, "/", R"(
 INFO: This media is composed of 2 volumes.
       All volumes found in: /
= 1 MTBDIR=SET-A)");
}

TEST(ScanMediaVolumes, ClimbsUpToTheRootDirectoryForAnAmVolume) {
  MediaWorld world;
  world.Make("media/x/1: volumes=2 1=SET-A");
  ExpectScanInOwnRoot(world, "/media/x/1", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: /media/x/1
= 0 MTBDIR=SET-A VolumesCount=2)");
  // A relative path from the root lacks its first character.
  world.Make(".: 3=AM-A; 4: 4=AM-A; 4/edia/x/2: 2=SET-A");
  ExpectScanInOwnRoot(world, "/media/x/1", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: /media/x/1
       AM volume 3 found in: /
       AM volume 4 found in: /4
       Volume 2 found in: /4/edia/x/2
= 2 /4/edia/x/2 AMRelativePath=edia/x FirstAMPath=/ FirstAMVolume=3 MTBDIR=AM-A VolumesCount=2)");
}

/// The parent of a single relative name is empty, and joining an empty path gives the root.
TEST(ScanMediaVolumes, OfASingleRelativeNameLooksForSiblingsInTheRoot) {
  MediaWorld world;
  world.Make("media: volumes=2 1=SET-A; 2: 2=SET-A");
  ExpectScanInOwnRoot(world, "media", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: media
       Volume 2 found in: /2
= 2 /2 MTBDIR=SET-A VolumesCount=2)");
}

TEST(ScanMediaVolumes, OfARelativeMediaLooksForAmVolumesBesideItsFirstName) {
  MediaWorld world;
  world.Make("am/x/1: volumes=2 1=SET-A; am: 5=AM-A; 6: 6=AM-A");
  ExpectScanInOwnRoot(world, "am/x/1", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: am/x/1
       AM volume 5 found in: am
       AM volume 6 found in: /6
= 0 AMRelativePath=../am/x FirstAMPath=am FirstAMVolume=5 MTBDIR=AM-A VolumesCount=2)");
}

}  // namespace
}  // namespace kvl::test
