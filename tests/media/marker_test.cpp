#include "media/marker.h"

#include "tests/media/scan_checks.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using namespace std::string_literals;

TEST(MarkerName, IsTheDecimalNumberAndTxt) {
  constexpr std::int64_t kGreatestCount = std::numeric_limits<std::int32_t>::max();
  // The last number belongs to the largest media in the first AM volume with the greatest number.
  const std::map<std::int64_t, std::string> rows = {
      {1, "1.txt"},     {2, "2.txt"},
      {10, "10.txt"},   {kGreatestCount, "2147483647.txt"},
      {100, "100.txt"}, {99 + kGreatestCount - 1, "2147483745.txt"},
  };
  for (const auto& [volume, name] : rows) EXPECT_EQ(MarkerName(volume), name);
}

TEST(VolumeOfMarkerName, ReadsTheOneOrTwoCharactersBeforeTxt) {
  const std::map<std::string, int> rows = {
      {"1.txt", 1},   {"2.txt", 2},    {"9.txt", 9},    {"10.txt", 10}, {"99.txt", 99},
      {"0.txt", 0},   {"00.txt", 0},   {"05.txt", 5},   {"1a.txt", 1},  {" 7.txt", 7},
      {"+7.txt", 7},  {"7 .txt", 7},   {"..txt", -1},   {"a.txt", -1},  {"a1.txt", -1},
      {"-5.txt", -5}, {"100.txt", -1}, {"001.txt", -1}, {".txt", -1},   {"", -1},
      {"1", -1},      {"12", -1},      {"1.TXT", -1},   {"1.tx", -1},   {"1.text", -1},
      {"1.txt2", -1}, {"1.txt ", -1},  {"12txt", -1},   {"11_txt", -1}, {"1.txt.txt", -1},
  };
  for (const auto& [name, volume] : rows) EXPECT_EQ(VolumeOfMarkerName(name), volume) << name;
  EXPECT_EQ(kNoVolume, -1);
}

/// Compares the tags of markers that have these contents.
void ExpectTags(const std::map<std::string, std::string>& rows) {
  const TestDirectory directory;
  for (const auto& [contents, tag] : rows) {
    EXPECT_EQ(ReadMtbDir(directory.Write("1.txt", contents)), tag) << contents;
  }
}

TEST(ReadMtbDir, GivesTheRestOfTheFirstLineThatBeginsWithTheKey) {
  ExpectTags({{"MTBDIR=SET-A\n", "SET-A"},
              {"MTBDIR=SET-A", "SET-A"},
              {"TITLE=x\n\nMTBDIR=SET-A\nMORE=y\n", "SET-A"},
              {"MTBDIR=SET-A\nMTBDIR=SET-B\n", "SET-A"},
              {"MTBDIR=\nMTBDIR=SET-B\n", ""},
              {" MTBDIR=SET-A\nMTBDIR=SET-B\n", "SET-B"},
              {"MTBDIR= SET A \n", " SET A "},
              {"MTBDIR=A=B", "A=B"},
              {"MTBDIRMTBDIR=A\nMTBDIR=B\n", "B"},
              {"MTBDIR=MTBDIR=A\n", "MTBDIR=A"},
              {"MTBDIR=" + std::string(100000, 'x') + "\n", std::string(100000, 'x')}});
}

TEST(ReadMtbDir, DropsOneCarriageReturnAtTheEndOfALine) {
  ExpectTags({{"TITLE=x\r\nMTBDIR=SET-A\r\n", "SET-A"},
              {"MTBDIR=SET-A\r", "SET-A"},
              {"MTBDIR=SET-A\r\r\n", "SET-A\r"},
              {"MTBDIR=SET\rA\n", "SET\rA"},
              {"MTBDIR=\r\n", ""},
              {"TITLE=x\rMTBDIR=SET-A\r", ""}});
}

TEST(ReadMtbDir, GivesAnyBytesAsTheyAre) {
  ExpectTags({{"MTBDIR=A\0B\n"s, "A\0B"s},
              {"MTBDIR=\0\n"s, "\0"s},
              {"\0\xff\nMTBDIR=\xff\xfe\x80\n"s, "\xff\xfe\x80"}});
}

TEST(ReadMtbDir, WithoutAValueBehindTheKeyIsEmpty) {
  for (const std::string& contents :
       {""s, "\n"s, "SET-A\n"s, "MTBDIR"s, "MTBDIR="s, "MTBDIR\n=SET-A\n"s, "MTBDIR =SET-A\n"s,
        "MtbDir=SET-A\n"s, "\tMTBDIR=SET-A\n"s, "\0MTBDIR=SET-A\n"s,
        "\xef\xbb\xbfMTBDIR=SET-A\n"s}) {
    ExpectTags({{contents, ""}});
  }
}

TEST(ReadMtbDir, FollowsALink) {
  TestDirectory directory;
  directory.Link("1.txt", directory.Write("elsewhere", "MTBDIR=SET-A\n"));
  EXPECT_EQ(ReadMtbDir(directory.Path("1.txt")), "SET-A");
}

TEST(ReadMarker, SaysWhyItHasNoText) {
  TestDirectory directory;
  const std::string file = directory.Write("no tag", "TITLE=x\n");
  const std::string socket = directory.Path("socket");
  MakeUnopenable(socket);
  const std::map<std::string, int> rows = {
      {file, 0},
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
  for (const auto& [path, error] : rows) {
    const FileText marker = ReadMarker(path);
    EXPECT_EQ(marker.text, std::nullopt) << path;
    EXPECT_EQ(marker.error, error) << path;
    EXPECT_EQ(ReadMtbDir(path), "") << path;
  }
}

TEST(ReadFirstLine, IsTheTextUpToTheLineEndAndNothingOfAnEmptyFile) {
  const std::map<std::string, std::optional<std::string>> rows = {
      {"one\r\ntwo\n", "one"}, {"one", "one"}, {"\n", ""}, {"", std::nullopt}};
  const TestDirectory directory;
  for (const auto& [contents, text] : rows) {
    const FileText first = ReadFirstLine(directory.Write("file", contents));
    EXPECT_EQ(first.text, text) << contents;
    EXPECT_EQ(first.error, 0) << contents;
  }
}

}  // namespace
}  // namespace kvl::test
