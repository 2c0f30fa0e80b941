// What a scan does before it looks for the layouts, and media at the ends of the file system. The
// layouts have tests of their own.
#include "media/volume_scan.h"

#include "console/logger.h"
#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// What "all is there, and nothing more needs to be done" looks like.
const ExpectedScan kSilentlyComplete = {.code = 1};
const ExpectedScan kSilentlyFailed = {.code = 0};

TEST(ScanOutcome, IsAFailureUnlessToldOtherwise) {
  const ScanOutcome outcome;
  EXPECT_EQ(outcome.code, kScanFailed);
  EXPECT_FALSE(outcome.complete);
}

TEST(ScanMediaVolumes, WithoutVolumesTxtIsComplete) {
  MediaWorld world;
  world.Volume("empty");
  world.Volume("marked").Dir("inst").Marker(1, "SET-A").Marker(2, "SET-A");
  world.Volume("odd").File("inst", "not a directory");
  world.Volume("dangling").Link("inst/volumes.txt", "{nowhere}");
  for (const char* name : {"empty", "marked", "odd", "dangling", "missing"}) {
    SCOPED_TRACE(name);
    ExpectScan(world, world.ScanFrom(name), kSilentlyComplete);
  }
}

TEST(ScanMediaVolumes, InSoftwareManagementDoesNotReadVolumesTxt) {
  MediaWorld world;
  world.Volume("1").Announces("no number").Marker(1, "SET-A");
  ExpectScan(world, world.ScanFrom("1", {}, /*software_management=*/true), kSilentlyComplete);
}

TEST(ScanMediaVolumes, FromAnOnlineRepositoryDoesNotReadVolumesTxt) {
  MediaWorld world;
  world.Volume("1").Announces("no number").Marker(1, "SET-A");
  for (const char* value : {"http://repository", "0", " "}) {
    SCOPED_TRACE(value);
    ExpectScan(world, world.ScanFrom("1", {{"KVL_Online_Installation_Caf_Repositiory", value}}),
               kSilentlyComplete);
  }
}

TEST(ScanMediaVolumes, ReadsVolumesTxtWhenTheRepositoryIsEmptyOrSpeltOtherwise) {
  MediaWorld world;
  world.Volume("1").Announces("2").Marker(1, "SET-A").Marker(2, "SET-A");
  for (const Environment& env :
       {Environment{{"KVL_Online_Installation_Caf_Repositiory", ""}},
        Environment{{"KVL_Online_Installation_Caf_Repository", "http://repository"}}}) {
    ExpectScan(world, world.ScanFrom("1", env),
               {.code = 1,
                .out = " INFO: This media is composed of 2 volumes.\n"
                       "       All volumes found in: {1}\n",
                .mtb_dir = "SET-A"});
  }
}

TEST(ScanMediaVolumes, FailsSilentlyWhenVolumesTxtCannotBeRead) {
  MediaWorld world;
  world.Volume("empty").File("inst/volumes.txt", "").Marker(1, "SET-A");
  world.Volume("directory").Dir("inst/volumes.txt").Marker(1, "SET-A");
  world.Volume("closed").Dir("inst").Marker(1, "SET-A");
  MakeUnopenable(world.Path("closed/inst/volumes.txt"));
  world.Volume("pipe").Marker(1, "SET-A");
  world.Directory().Pipe("pipe/inst/volumes.txt");
  for (const char* name : {"empty", "directory", "closed", "pipe"}) {
    SCOPED_TRACE(name);
    ExpectScan(world, world.ScanFrom(name), kSilentlyFailed);
  }
}

TEST(ScanMediaVolumes, OfOneVolumeOrLessIsSilentlyComplete) {
  const std::vector<std::string> rows = {
      "1\n",  "1",          "1\r\n", "0\n",    "-1\n",  "-2147483648\n", " 1\n",
      "+1\n", "1 volume\n", "01\n",  "1\n3\n", "0x3\n", "1.9\n",         "-0\n",
  };
  for (const std::string& contents : rows) {
    MediaWorld world;
    world.Volume("1").File("inst/volumes.txt", contents);
    SCOPED_TRACE(contents);
    ExpectScan(world, world.ScanFrom("1"), kSilentlyComplete);
  }
}

TEST(ScanMediaVolumes, ShowsTheFirstLineOfVolumesTxtAsItStands) {
  struct Row {
    std::string contents;
    std::string shown;
  };
  const std::vector<Row> rows = {
      {"3\n", "3"},     {"3", "3"},
      {"3\r\n", "3"},   {"3\r\r\n", "3\r"},
      {"3 \n", "3 "},   {" 3\n", " 3"},
      {"\t3\n", "\t3"}, {"+3\n", "+3"},
      {"003\n", "003"}, {"3 volumes\n", "3 volumes"},
      {"3.9\n", "3.9"}, {"3abc\n", "3abc"},
      {"3\n1\n", "3"},  {"3-1\n", "3-1"},
  };
  for (const Row& row : rows) {
    MediaWorld world;
    world.Volume("1").File("inst/volumes.txt", row.contents).Marker(1, "SET-A");
    world.Volume("2").Marker(2, "SET-A");
    world.Volume("3").Marker(3, "SET-A");
    SCOPED_TRACE(row.contents);
    ExpectScan(world, world.ScanFrom("1"),
               {.code = 3,
                .volumes = {"{2}", "{3}"},
                .out = " INFO: This media is composed of " + row.shown +
                       " volumes.\n"
                       "       Volume 1 found in: {1}\n"
                       "       Volume 2 found in: {2}\n"
                       "       Volume 3 found in: {3}\n",
                .volumes_count = row.shown,
                .mtb_dir = "SET-A"});
  }
}

/// Scans a media whose "volumes.txt" has these contents, in an empty environment: what it says, the
/// text of the `Failure` it throws, and the environment afterwards.
template <typename Failure>
void ExpectScanThrows(const std::string& contents) {
  MediaWorld world;
  world.Volume("1").File("inst/volumes.txt", contents);
  const ScopedEnv scoped;
  std::string text = "(nothing thrown)";
  const Outcome said = Catch([&] {
    Logger logger;
    try {
      ScanMediaVolumes(KVLInsIO::InsPath(world.Path("1")), /*software_management=*/false, logger);
    } catch (const Failure& failure) {
      text = failure.what();
    }
  });
  EXPECT_EQ(text, "stoi") << contents;
  EXPECT_EQ(said.out, "") << contents;
  EXPECT_EQ(said.err, "") << contents;
  EXPECT_EQ(CurrentEnvironment(), ScanVariables({})) << contents;
}

TEST(ScanMediaVolumes, ThrowsWhenVolumesTxtDoesNotBeginWithANumber) {
  for (const char* contents :
       {"abc\n", "\n", "\n3\n", "\r\n", " \n", "-\n", "+\n", "volumes 3\n", "- 3\n",
        "\xff"
        "3\n"}) {
    ExpectScanThrows<std::invalid_argument>(contents);
  }
}

TEST(ScanMediaVolumes, ThrowsWhenTheNumberOfVolumesIsNoInt) {
  for (const char* contents : {"99999999999\n", "2147483648\n", "-2147483649\n",
                               "99999999999999999999999\n", "2147483648 volumes\n"}) {
    ExpectScanThrows<std::out_of_range>(contents);
  }
}

TEST(ScanMediaVolumes, TakesTheGreatestIntForACount) {
  MediaWorld world;
  world.Volume("1").Announces("2147483647");  // no marker: the numbers are not tried one by one
  ExpectScan(world, world.ScanFrom("1"),
             {.code = 0,
              .out = " INFO: This media is composed of 2147483647 volumes.\n",
              .err = " WARN: 1.txt not found or not accessible in: {1}\n"
                     "       Please make sure you copied the whole volume.\n",
              .volumes_count = "2147483647"});
}

TEST(ScanMediaVolumes, FailsWithoutATagInTheFirstMarker) {
  MediaWorld world;
  world.Volume("missing");
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
    world.Volume(name).Announces("2").Marker(2, "SET-A");
    SCOPED_TRACE(name);
    ExpectScan(world, world.ScanFrom(name),
               {.code = 0,
                .out = " INFO: This media is composed of 2 volumes.\n",
                .err = " WARN: 1.txt not found or not accessible in: {" + name +
                       "}\n"
                       "       Please make sure you copied the whole volume.\n",
                .volumes_count = "2"});
  }
}

TEST(ScanMediaVolumes, EmptiesWhatTheCallersEnvironmentHeld) {
  const Environment old = {
      {"KVLAdmInstVolumesCount", "7"},     {"KVLAdmInstMTBDIR", "OLD"},
      {"KVLAdmInstFirstAMVolume", "7"},    {"KVLAdmInstFirstAMPath", "/old"},
      {"KVLAdmInstAMRelativePath", "old"}, {"KVLAdmInstVolumePath_2", "/old/2"},
      {"CurrentMediaDir", "/old/1"}};
  MediaWorld world;
  world.Volume("no volumes");
  world.Volume("unreadable").Dir("inst/volumes.txt");
  ExpectScan(world, world.ScanFrom("no volumes", old), kSilentlyComplete);
  ExpectScan(world, world.ScanFrom("unreadable", old), kSilentlyFailed);
}

TEST(ScanMediaVolumes, LeavesTheMediaAsItIs) {
  MediaWorld world;
  world.Volume("m/1").Announces("3").Marker(1, "SET-A");
  world.Volume("m/2").Marker(2, "SET-A");
  world.Volume("m/3").Marker(3, "SET-B");
  const std::vector<std::string> before = DescribeTreeExactly(world.Path("."));
  world.ScanFrom("m/1");
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(ScanMediaVolumes, OfAnEmptyDirectoryLooksInTheRoot) {
  MediaWorld world;
  const auto bare = ScanInOwnRoot(world, "");
  if (!bare) GTEST_SKIP() << kCannotChangeRoot;
  ExpectScan(world, *bare, kSilentlyComplete);

  world.Volume(".").Announces("2").Marker(1, "SET-A");
  ExpectedScan expected = {.out =
                               " INFO: This media is composed of 2 volumes.\n"
                               "       Volume 1 found in: \n",
                           .volumes_count = "2",
                           .mtb_dir = "SET-A"};
  ExpectScan(world, *ScanInOwnRoot(world, ""), expected);

  world.Volume("2").Marker(2, "SET-A");
  expected.code = 2;
  expected.volumes = {"/2"};
  expected.out += "       Volume 2 found in: /2\n";
  ExpectScan(world, *ScanInOwnRoot(world, ""), expected);
}

TEST(ScanMediaVolumes, OfTheRootDirectoryFindsItsVolumesInIt) {
  MediaWorld world;
  world.Volume(".").Announces("2").Marker(1, "SET-A");
  const auto alone = ScanInOwnRoot(world, "/");
  if (!alone) GTEST_SKIP() << kCannotChangeRoot;
  ExpectedScan expected = {.out =
                               " INFO: This media is composed of 2 volumes.\n"
                               "       Volume 1 found in: /\n",
                           .volumes_count = "2",
                           .mtb_dir = "SET-A"};
  ExpectScan(world, *alone, expected);

  world.Volume(".").Marker(2, "SET-A");
  expected.code = 1;
  expected.out =
      " INFO: This media is composed of 2 volumes.\n"
      "       All volumes found in: /\n";
  expected.volumes_count = "";
  ExpectScan(world, *ScanInOwnRoot(world, "/"), expected);
}

TEST(ScanMediaVolumes, ClimbsUpToTheRootDirectoryForAnAmVolume) {
  MediaWorld world;
  world.Volume("media/x/1").Announces("2").Marker(1, "SET-A");
  const auto without = ScanInOwnRoot(world, "/media/x/1");
  if (!without) GTEST_SKIP() << kCannotChangeRoot;
  ExpectedScan expected = {.out =
                               " INFO: This media is composed of 2 volumes.\n"
                               "       Volume 1 found in: /media/x/1\n",
                           .volumes_count = "2",
                           .mtb_dir = "SET-A"};
  ExpectScan(world, *without, expected);

  // From the root the relative path lacks its first character.
  world.Volume(".").Marker(3, "AM-A");
  world.Volume("4").Marker(4, "AM-A");
  world.Volume("4/edia/x/2").Marker(2, "SET-A");
  expected = {.code = 2,
              .volumes = {"/4/edia/x/2"},
              .out =
                  " INFO: This media is composed of 2 volumes.\n"
                  "       Volume 1 found in: /media/x/1\n"
                  "       AM volume 3 found in: /\n"
                  "       AM volume 4 found in: /4\n"
                  "       Volume 2 found in: /4/edia/x/2\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "3",
              .first_am_path = "/",
              .am_relative_path = "edia/x"};
  ExpectScan(world, *ScanInOwnRoot(world, "/media/x/1"), expected);
}

/// Nothing lies above the first name of a relative path, and joining that nothing gives the root.
TEST(ScanMediaVolumes, OfASingleRelativeNameLooksForSiblingsInTheRoot) {
  MediaWorld world;
  world.Volume("media").Announces("2").Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
  const auto seen = ScanInOwnRoot(world, "media");
  if (!seen) GTEST_SKIP() << kCannotChangeRoot;
  ExpectScan(world, *seen,
             {.code = 2,
              .volumes = {"/2"},
              .out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: media\n"
                     "       Volume 2 found in: /2\n",
              .volumes_count = "2",
              .mtb_dir = "SET-A"});
}

TEST(ScanMediaVolumes, OfARelativeMediaLooksForFurtherAmVolumesBesideTheFirstName) {
  MediaWorld world;
  world.Volume("am/x/1").Announces("2").Marker(1, "SET-A");
  world.Volume("am").Marker(5, "AM-A");
  world.Volume("6").Marker(6, "AM-A");
  const auto seen = ScanInOwnRoot(world, "am/x/1");
  if (!seen) GTEST_SKIP() << kCannotChangeRoot;
  ExpectScan(world, *seen,
             {.out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: am/x/1\n"
                     "       AM volume 5 found in: am\n"
                     "       AM volume 6 found in: /6\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "5",
              .first_am_path = "am",
              .am_relative_path = "../am/x"});
}

}  // namespace
}  // namespace kvl::test
