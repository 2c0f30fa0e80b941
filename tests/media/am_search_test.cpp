// The search for the first AM volume: the marker above the media directory.

#include "insio/exceptions.h"
#include "tests/media/scan_checks.h"
#include "tests/support/media_world.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A media {w/9/am/x/1}, its first volume alone. {w/9} is an AM volume, so that no search goes on
/// above it; what lies in {w/9/am} is the test's.
struct SearchedMedia {
  MediaWorld world;
  VolumeBuilder am = world.Volume("w/9/am");

  SearchedMedia() {
    world.Volume("w/9/am/x/1").Announces("2").Marker(1, "SET-A");
    world.Volume("w/9").Marker(9, "AM-TOP");
  }

  ScanSeen Scan() { return world.ScanFrom("w/9/am/x/1"); }

  static ExpectedScan FoundInAm(int number) {
    const std::string text = std::to_string(number);
    return {.out =
                " INFO: This media is composed of 2 volumes.\n"
                "       Volume 1 found in: {w/9/am/x/1}\n"
                "       AM volume " +
                text + " found in: {w/9/am}\n",
            .volumes_count = "2",
            .mtb_dir = "AM-A",
            .first_am_volume = text,
            .first_am_path = "{w/9/am}",
            .am_relative_path = "x"};
  }

  static ExpectedScan FoundAtTheTop() {
    return {.out =
                " INFO: This media is composed of 2 volumes.\n"
                "       Volume 1 found in: {w/9/am/x/1}\n"
                "       AM volume 9 found in: {w/9}\n",
            .volumes_count = "2",
            .mtb_dir = "AM-TOP",
            .first_am_volume = "9",
            .first_am_path = "{w/9}",
            .am_relative_path = "am/x"};
  }

  static ExpectedScan CannotOpen(const std::string& name) {
    return {.out =
                " INFO: This media is composed of 2 volumes.\n"
                "       Volume 1 found in: {w/9/am/x/1}\n",
            .err = " WARN: Cannot open " + name +
                   " in {w/9/am}\n"
                   "       Please make sure you copied and/or extracted everything properly.\n",
            .volumes_count = "2",
            .mtb_dir = "SET-A"};
  }
};

TEST(AmSearch, TakesFilesNamedByOneOrTwoCharactersThatReadAsANumber) {
  struct Row {
    std::string name;
    int number;
  };
  const std::vector<Row> rows = {
      {"1.txt", 1},  {"2.txt", 2},  {"10.txt", 10}, {"99.txt", 99}, {"1a.txt", 1},
      {"05.txt", 5}, {" 7.txt", 7}, {"+7.txt", 7},  {"7 .txt", 7},
  };
  for (const Row& row : rows) {
    SearchedMedia media;
    media.am.File(row.name, "MTBDIR=AM-A\n");
    SCOPED_TRACE(row.name);
    ExpectScan(media.world, media.Scan(), SearchedMedia::FoundInAm(row.number));
  }
}

TEST(AmSearch, PassesFilesWithOtherNames) {
  const std::vector<std::string> rows = {
      "0.txt", "00.txt", "-1.txt", "a.txt",  "a1.txt", "100.txt", "001.txt",
      ".txt",  "1",      "1.TXT",  "1.text", "1.txt~", "1.tx",    "12txt",
  };
  for (const std::string& name : rows) {
    SearchedMedia media;
    media.am.File(name, "MTBDIR=AM-A\n");
    SCOPED_TRACE(name);
    ExpectScan(media.world, media.Scan(), SearchedMedia::FoundAtTheTop());
  }
}

TEST(AmSearch, FindsTheMarkerAmongOtherNumberedFilesInAnyOrder) {
  const std::vector<std::vector<std::string>> orders = {
      {"0.txt", "2.txt", "100.txt"}, {"100.txt", "2.txt", "0.txt"}, {"2.txt", "0.txt", "100.txt"}};
  for (const std::vector<std::string>& names : orders) {
    SearchedMedia media;
    for (const std::string& name : names) {
      media.am.File(name, name == "2.txt" ? "MTBDIR=AM-A\n" : "MTBDIR=AM-B\n");
    }
    SCOPED_TRACE(names.front());
    ExpectScan(media.world, media.Scan(), SearchedMedia::FoundInAm(2));
  }
}

TEST(AmSearch, OfSeveralMarkersTakesTheFirstInTheDirectorysOwnOrder) {
  SearchedMedia media;
  for (const int number : {5, 3, 8, 4, 7}) media.am.Marker(number, "AM-A");
  int first = 0;
  for (const auto& entry : std::filesystem::directory_iterator(media.world.Path("w/9/am"))) {
    if (first == 0 && entry.is_regular_file()) first = std::stoi(entry.path().filename().string());
  }
  ExpectScan(media.world, media.Scan(), SearchedMedia::FoundInAm(first));
}

TEST(AmSearch, TakesALinkToAFile) {
  SearchedMedia media;
  media.world.Volume("elsewhere").File("marker", "MTBDIR=AM-A\r\n");
  media.am.Link("5.txt", "{elsewhere/marker}");
  ExpectScan(media.world, media.Scan(), SearchedMedia::FoundInAm(5));
}

TEST(AmSearch, PassesADirectoryAndALinkToOne) {
  SearchedMedia media;
  media.am.Dir("5.txt").Link("6.txt", "{w}");
  ExpectScan(media.world, media.Scan(), SearchedMedia::FoundAtTheTop());
}

TEST(AmSearch, EndsAtAMarkerThatCannotBeReadOrHasNoTag) {
  struct Row {
    std::string name;
    std::function<void(SearchedMedia&)> make;
  };
  const std::vector<Row> rows = {
      {"5.txt", [](SearchedMedia& media) { media.am.File("5.txt", ""); }},
      {"12.txt", [](SearchedMedia& media) { media.am.File("12.txt", "MTBDIR=\r\n"); }},
      {"1a.txt", [](SearchedMedia& media) { media.am.File("1a.txt", "mtbdir=AM-A\n"); }},
      {"6.txt", [](SearchedMedia& media) { media.am.Link("6.txt", "{nowhere}"); }},
      {"7.txt", [](SearchedMedia& media) { MakeUnopenable(media.world.Path("w/9/am/7.txt")); }},
      // The backslash makes it another path.
      {"1\\.txt", [](SearchedMedia& media) { media.am.File("1\\.txt", "MTBDIR=AM-A\n"); }},
  };
  for (const Row& row : rows) {
    SearchedMedia media;
    row.make(media);
    SCOPED_TRACE(row.name);
    ExpectScan(media.world, media.Scan(), SearchedMedia::CannotOpen(row.name));
  }
}

TEST(AmSearch, BeginsAboveTheMediaDirectory) {
  SearchedMedia media;
  media.world.Volume("w/9/am/x/1").Marker(7, "AM-A");
  ExpectScan(media.world, media.Scan(), SearchedMedia::FoundAtTheTop());
}

TEST(AmSearch, TakesTheParentOfTheMediaDirectoryFirst) {
  SearchedMedia media;
  media.am.Marker(5, "AM-B");
  media.world.Volume("w/9/am/x").Marker(4, "AM-A");
  ExpectedScan expected = SearchedMedia::FoundInAm(4);
  expected.out =
      " INFO: This media is composed of 2 volumes.\n"
      "       Volume 1 found in: {w/9/am/x/1}\n"
      "       AM volume 4 found in: {w/9/am/x}\n";
  expected.first_am_path = "{w/9/am/x}";
  expected.am_relative_path = "";
  ExpectScan(media.world, media.Scan(), expected);
}

TEST(AmSearch, ClimbsSeveralLevels) {
  MediaWorld world;
  world.Volume("w/3/a/b/c/d/1").Announces("2").Marker(1, "SET-A");
  world.Volume("w/3").Marker(3, "AM-A");
  ExpectScan(world, world.ScanFrom("w/3/a/b/c/d/1"),
             {.out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {w/3/a/b/c/d/1}\n"
                     "       AM volume 3 found in: {w/3}\n",
              .volumes_count = "2",
              .mtb_dir = "AM-A",
              .first_am_volume = "3",
              .first_am_path = "{w/3}",
              .am_relative_path = "a/b/c/d"});
}

TEST(AmSearch, WithoutAMarkerOnTheWayUpFailsSilently) {
  MediaWorld world;
  world.Volume("a/b/1").Announces("2").Marker(1, "SET-A");
  world.Volume(".").Marker(5, "AM-A");  // beyond the first name of the relative path
  ExpectScan(world, ScanRelative(world, "a/b/1"),
             {.out = " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: a/b/1\n",
              .volumes_count = "2",
              .mtb_dir = "SET-A"});
}

TEST(AmSearch, PassesADirectoryWhoseListIsBrokenOff) {
  SearchedMedia media;
  const FailingCall failing(FailingCall::kReadDir, EIO);
  EXPECT_EQ(media.Scan().code, 0);
}

}  // namespace
}  // namespace kvl::test
