// The search for the first AM volume: the marker above the media directory.

#include "tests/media/scan_checks.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

/// A media {w/9/am/x/1} with only its first volume. {w/9} is an AM volume, so no search goes on
/// above it. The test decides what lies in {w/9/am}.
struct SearchedMedia {
  MediaWorld world;
  VolumeBuilder am = world.Volume("w/9/am");

  void ExpectOnScan(const std::string& transcript) {
    ExpectScan(world, "w/9/am/x/1: volumes=2 1=SET-A; w/9: 9=AM-TOP", kBeginning + transcript);
  }

  void ExpectFoundInAm(int number) {
    const std::string text = std::to_string(number);
    ExpectOnScan("       AM volume " + text + " found in: {w/9/am}\n= 0 AMRelativePath=x " +
                 "FirstAMPath={w/9/am} FirstAMVolume=" + text + " MTBDIR=AM-A VolumesCount=2");
  }

  void ExpectFoundAtTheTop() {
    ExpectOnScan(R"(       AM volume 9 found in: {w/9}
= 0 AMRelativePath=am/x FirstAMPath={w/9} FirstAMVolume=9 MTBDIR=AM-TOP VolumesCount=2)");
  }

  void ExpectCannotOpen(const std::string& name) {
    ExpectOnScan("2> WARN: Cannot open " + name + R"( in {w/9/am}
2>       Please make sure you copied and/or extracted everything properly.
= 0 MTBDIR=SET-A VolumesCount=2)");
  }

  static inline const std::string kBeginning = R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {w/9/am/x/1}
)";
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
    media.ExpectFoundInAm(row.number);
  }
}

TEST(AmSearch, SkipsFilesWithOtherNames) {
  const std::vector<std::string> rows = {
      "0.txt", "00.txt", "-1.txt", "a.txt",  "a1.txt", "100.txt", "001.txt",
      ".txt",  "1",      "1.TXT",  "1.text", "1.txt~", "1.tx",    "12txt",
  };
  for (const std::string& name : rows) {
    SearchedMedia media;
    media.am.File(name, "MTBDIR=AM-A\n");
    SCOPED_TRACE(name);
    media.ExpectFoundAtTheTop();
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
    media.ExpectFoundInAm(2);
  }
}

TEST(AmSearch, OfSeveralMarkersTakesTheFirstInTheDirectorysOwnOrder) {
  SearchedMedia media;
  for (const int number : {5, 3, 8, 4, 7}) media.am.Marker(number, "AM-A");
  int first = 0;
  for (const auto& entry : std::filesystem::directory_iterator(media.world.Path("w/9/am"))) {
    if (first == 0 && entry.is_regular_file()) first = std::stoi(entry.path().filename().string());
  }
  media.ExpectFoundInAm(first);
}

TEST(AmSearch, TakesALinkToAFile) {
  SearchedMedia media;
  media.world.Volume("elsewhere").File("marker", "MTBDIR=AM-A\r\n");
  media.am.Link("5.txt", "{elsewhere/marker}");
  media.ExpectFoundInAm(5);
}

TEST(AmSearch, SkipsADirectoryAndALinkToOne) {
  SearchedMedia media;
  media.am.Dir("5.txt").Link("6.txt", "{w}");
  media.ExpectFoundAtTheTop();
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
      // The backslash turns it into another path.
      {"1\\.txt", [](SearchedMedia& media) { media.am.File("1\\.txt", "MTBDIR=AM-A\n"); }},
  };
  for (const Row& row : rows) {
    SearchedMedia media;
    row.make(media);
    SCOPED_TRACE(row.name);
    media.ExpectCannotOpen(row.name);
  }
}

TEST(AmSearch, BeginsAboveTheMediaDirectory) {
  SearchedMedia media;
  media.world.Volume("w/9/am/x/1").Marker(7, "AM-A");
  media.ExpectFoundAtTheTop();
}

TEST(AmSearch, TakesTheParentOfTheMediaDirectoryFirst) {
  SearchedMedia media;
  media.world.Make("w/9/am: 5=AM-B; w/9/am/x: 4=AM-A");
  media.ExpectOnScan(R"(       AM volume 4 found in: {w/9/am/x}
= 0 FirstAMPath={w/9/am/x} FirstAMVolume=4 MTBDIR=AM-A VolumesCount=2)");
}

TEST(AmSearch, ClimbsSeveralLevels) {
  ExpectScan("w/3/a/b/c/d/1: volumes=2 1=SET-A; w/3: 3=AM-A", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: {w/3/a/b/c/d/1}
       AM volume 3 found in: {w/3}
= 0 AMRelativePath=a/b/c/d FirstAMPath={w/3} FirstAMVolume=3 MTBDIR=AM-A VolumesCount=2)");
}

/// The marker lies above the first name of the relative path.
TEST(AmSearch, WithoutAMarkerOnTheWayUpFailsSilently) {
  MediaWorld world;
  world.Make("a/b/1: volumes=2 1=SET-A; .: 5=AM-A");
  ExpectRelativeScan(world, "a/b/1", R"(
 INFO: This media is composed of 2 volumes.
       Volume 1 found in: a/b/1
= 0 MTBDIR=SET-A VolumesCount=2)");
}

TEST(AmSearch, SkipsADirectoryWhoseListBreaksOff) {
  SearchedMedia media;
  const FailingCall failing(FailingCall::kReadDir, EIO);
  media.ExpectOnScan("= 0 MTBDIR=SET-A VolumesCount=2");
}

}  // namespace
}  // namespace kvl::test
