#include "media/marker.h"

#include "tests/media/scan_checks.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using namespace std::string_literals;

TEST(MarkerName, IsTheDecimalNumberAndTxt) {
  struct Row {
    std::int64_t volume;
    std::string name;
  };
  constexpr std::int64_t kGreatestCount = std::numeric_limits<std::int32_t>::max();
  const std::vector<Row> rows = {
      {1, "1.txt"},
      {2, "2.txt"},
      {9, "9.txt"},
      {10, "10.txt"},
      {100, "100.txt"},
      {kGreatestCount, "2147483647.txt"},
      {kGreatestCount + 1, "2147483648.txt"},
      // The last AM volume of the greatest media whose first AM volume has the greatest number.
      {99 + kGreatestCount - 1, "2147483745.txt"},
  };
  for (const Row& row : rows) EXPECT_EQ(MarkerName(row.volume), row.name);
}

TEST(VolumeOfMarkerName, ReadsTheOneOrTwoCharactersBeforeTxt) {
  struct Row {
    std::string name;
    int volume;
  };
  const std::vector<Row> rows = {
      {"1.txt", 1},   {"2.txt", 2},    {"9.txt", 9},    {"10.txt", 10}, {"99.txt", 99},
      {"0.txt", 0},   {"00.txt", 0},   {"05.txt", 5},   {"1a.txt", 1},  {" 7.txt", 7},
      {"+7.txt", 7},  {"7 .txt", 7},   {"..txt", -1},   {"a.txt", -1},  {"a1.txt", -1},
      {"-5.txt", -5}, {"100.txt", -1}, {"001.txt", -1}, {".txt", -1},   {"", -1},
      {"1", -1},      {"12", -1},      {"1.TXT", -1},   {"1.tx", -1},   {"1.text", -1},
      {"1.txt2", -1}, {"1.txt ", -1},  {"12txt", -1},   {"11_txt", -1}, {"1.txt.txt", -1},
  };
  for (const Row& row : rows) EXPECT_EQ(VolumeOfMarkerName(row.name), row.volume) << row.name;
  EXPECT_EQ(kNoVolume, -1);
}

TEST(ReadMtbDir, GivesTheRestOfTheFirstLineThatBeginsWithTheKey) {
  struct Row {
    std::string contents;
    std::string tag;
  };
  const std::vector<Row> rows = {
      {"MTBDIR=SET-A\n", "SET-A"},
      {"MTBDIR=SET-A", "SET-A"},
      {"TITLE=x\n\nMTBDIR=SET-A\nMORE=y\n", "SET-A"},
      {"MTBDIR=SET-A\nMTBDIR=SET-B\n", "SET-A"},
      {"MTBDIR=\nMTBDIR=SET-B\n", ""},
      {" MTBDIR=SET-A\nMTBDIR=SET-B\n", "SET-B"},
      {"MTBDIR= SET A \n", " SET A "},
      {"MTBDIR=A=B", "A=B"},
      {"MTB\nMTBDIR=A\n", "A"},
      {"MTBDIRMTBDIR=A\nMTBDIR=B\n", "B"},
      {"MMTBDIR=A\nMTBDIR=B\n", "B"},
      {"x\r\nMTBDIR=A\n", "A"},
      {"MTBDIR=MTBDIR=A\n", "MTBDIR=A"},
      {"MTBDIR=" + std::string(100000, 'x') + "\n", std::string(100000, 'x')},
  };
  TestDirectory directory;
  for (const Row& row : rows) {
    EXPECT_EQ(ReadMtbDir(directory.Write("1.txt", row.contents)), row.tag) << row.contents;
  }
}

TEST(ReadMtbDir, DropsOneCarriageReturnAtTheEndOfALine) {
  struct Row {
    std::string contents;
    std::string tag;
  };
  const std::vector<Row> rows = {
      {"MTBDIR=SET-A\r\n", "SET-A"},   {"TITLE=x\r\nMTBDIR=SET-A\r\n", "SET-A"},
      {"MTBDIR=SET-A\r", "SET-A"},     {"MTBDIR=SET-A\r\r\n", "SET-A\r"},
      {"MTBDIR=SET\rA\n", "SET\rA"},   {"MTBDIR=\r\n", ""},
      {"TITLE=x\rMTBDIR=SET-A\r", ""},
  };
  TestDirectory directory;
  for (const Row& row : rows) {
    EXPECT_EQ(ReadMtbDir(directory.Write("1.txt", row.contents)), row.tag) << row.contents;
  }
}

TEST(ReadMtbDir, GivesAnyBytesAsTheyAre) {
  struct Row {
    std::string contents;
    std::string tag;
  };
  const std::vector<Row> rows = {
      {"MTBDIR=A\0B\n"s, "A\0B"s},
      {"MTBDIR=\0\n"s, "\0"s},
      {"\0\xff\nMTBDIR=\xff\xfe\x80\n"s, "\xff\xfe\x80"},
      {"MTBDIR=\xc3\xa9\n", "\xc3\xa9"},
  };
  TestDirectory directory;
  for (const Row& row : rows) {
    EXPECT_EQ(ReadMtbDir(directory.Write("1.txt", row.contents)), row.tag) << row.contents;
  }
}

TEST(ReadMtbDir, WithoutAValueBehindTheKeyIsEmpty) {
  const std::vector<std::string> rows = {
      "",
      "\n",
      "SET-A\n",
      "MTBDIR",
      "MTBDIR=",
      "MTBDIR=\n",
      "MTBDIR\n=SET-A\n",
      "MTBDIR =SET-A\n",
      "mtbdir=SET-A\n",
      "MtbDir=SET-A\n",
      " MTBDIR=SET-A\n",
      "\tMTBDIR=SET-A\n",
      "\0MTBDIR=SET-A\n"s,
      "\xef\xbb\xbfMTBDIR=SET-A\n",
  };
  TestDirectory directory;
  for (const std::string& contents : rows) {
    EXPECT_EQ(ReadMtbDir(directory.Write("1.txt", contents)), "") << contents;
  }
}

TEST(ReadMtbDir, FollowsALink) {
  TestDirectory directory;
  directory.Link("1.txt", directory.Write("elsewhere", "MTBDIR=SET-A\n"));
  EXPECT_EQ(ReadMtbDir(directory.Path("1.txt")), "SET-A");
}

TEST(ReadMarker, SaysWhyTheFileCannotBeRead) {
  TestDirectory directory;
  const std::string file = directory.Write("file", "MTBDIR=SET-A\n");
  const std::string socket = directory.Path("socket");
  MakeUnopenable(socket);
  struct Row {
    std::string path;
    int error;
  };
  const std::vector<Row> rows = {
      {"", ENOENT},
      {directory.Path("missing"), ENOENT},
      {directory.Path(std::string(300, 'x')), ENAMETOOLONG},
      {file + "/1.txt", ENOTDIR},
      {directory.MakeDir("1.txt"), EISDIR},
      {directory.Link("dangling", directory.Path("missing")), ENOENT},
      {directory.Link("loop", directory.Path("loop")), ELOOP},
      {socket, ENXIO},
      {directory.Pipe("pipe"), EOPNOTSUPP},
      {"/dev/zero", EOPNOTSUPP},
  };
  for (const Row& row : rows) {
    const FileText marker = ReadMarker(row.path);
    EXPECT_EQ(marker.text, std::nullopt) << row.path;
    EXPECT_EQ(marker.error, row.error) << row.path;
    EXPECT_EQ(ReadMtbDir(row.path), "") << row.path;
  }
}

TEST(ReadMarker, OfAFileWithoutTheLineIsNoFailure) {
  TestDirectory directory;
  const FileText marker = ReadMarker(directory.Write("1.txt", "TITLE=x\n"));
  EXPECT_EQ(marker.text, std::nullopt);
  EXPECT_EQ(marker.error, 0);
}

TEST(ReadFirstLine, IsTheTextUpToTheLineEnd) {
  TestDirectory directory;
  EXPECT_EQ(ReadFirstLine(directory.Write("a", "one\r\ntwo\n")).text, "one");
  EXPECT_EQ(ReadFirstLine(directory.Write("b", "one")).text, "one");
  EXPECT_EQ(ReadFirstLine(directory.Write("c", "\n")).text, "");
}

TEST(ReadFirstLine, OfAnEmptyFileIsNothing) {
  TestDirectory directory;
  const FileText first = ReadFirstLine(directory.Write("empty", ""));
  EXPECT_EQ(first.text, std::nullopt);
  EXPECT_EQ(first.error, 0);
}

}  // namespace
}  // namespace kvl::test
