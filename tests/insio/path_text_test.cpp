#include "insio/path_text.h"

#include "tests/insio/odd_paths.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::NormalizeString;
using KVLInsIO::ToColons;
using KVLInsIO::ToSlashes;

struct Row {
  std::string given;
  std::string expected;
};

void ExpectNormalised(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(NormalizeString(row.given), row.expected) << "given: " << row.given;
  }
}

bool IsFreeOfQuotes(const std::string& path) {
  return path.find_first_of("'\"") == std::string::npos;
}

TEST(PathSeparators, HaveTheirValues) {
  EXPECT_EQ(KVLInsIO::kPathSeparator, "/");
  EXPECT_EQ(KVLInsIO::kPathListSeparator, ":");
  EXPECT_EQ(KVLInsIO::kForeignPathSeparator, "\\");
  EXPECT_EQ(KVLInsIO::kForeignPathListSeparator, ";");
  EXPECT_EQ(KVLInsIO::kDoubledSeparator, "//");
}

TEST(PathSeparators, AreAddedToTexts) {
  const std::string a = "a", b = "b";
  EXPECT_EQ(a + KVLInsIO::kPathSeparator, "a/");
  EXPECT_EQ(KVLInsIO::kForeignPathSeparator + a, "\\a");
  EXPECT_EQ(a + KVLInsIO::kPathListSeparator + b + KVLInsIO::kDoubledSeparator, "a:b//");
  EXPECT_EQ("a" + std::string(KVLInsIO::kForeignPathListSeparator), "a;");
}

TEST(NormalizeString, FollowsTheExamplesOfItsHeader) {
  ExpectNormalised({
      {"", ""},
      {"a//b///", "a/b"},
      {"///", "/"},
      {"\"X:\\dir\\\\sub\\\"", "X:/dir/sub"},
      {"'a b'", "a b"},
      {"\"a'", "\"a'"},
      {"\"\"a\"\"", "\"a\""},
      {"\"", "\""},
      {"'", ""},
  });
}

TEST(NormalizeString, DropsOnePairOfEnclosingQuotesOnly) {
  ExpectNormalised({
      {"\"\"", ""},
      {"''", ""},
      {"'''", "'"},
      {"\"\"\"", "\""},
      {"''a''", "'a'"},
      {"'\"a\"'", "\"a\""},
      {"\"'a'\"", "'a'"},
      {"'\"'", "\""},
      {"\"'\"", "'"},
      {"'a\"", "'a\""},
      {"a'b\"c", "a'b\"c"},
      {" 'a'", " 'a'"},
  });
}

TEST(NormalizeString, DropsQuotesBeforeItLooksAtSlashes) {
  ExpectNormalised({
      {"\"/a/\"", "/a"},
      {"'/'", "/"},
      {"\"\\\"", "/"},
      {"\"a\"/", "\"a\""},
      {"/\"a\"", "/\"a\""},
      {"'a'/'b'", "a'/'b"},
  });
}

TEST(NormalizeString, TurnsBackslashesIntoSlashes) {
  ExpectNormalised({
      {"\\", "/"},
      {"\\\\", "/"},
      {"a\\b", "a/b"},
      {"a\\/\\b\\", "a/b"},
      {"\\\\server\\share", "/server/share"},
  });
}

TEST(NormalizeString, CollapsesEveryRunOfSlashesAndStripsTheLast) {
  ExpectNormalised({
      {"/", "/"},
      {"//", "/"},
      {"////", "/"},
      {"a/", "a"},
      {"a////", "a"},
      {"/a//", "/a"},
      {"//a///b////c/////", "/a/b/c"},
  });
}

TEST(NormalizeString, LeavesEverythingElseAlone) {
  for (const std::string path : {".", "..", "a/./b/../c", " a ", "a;b:c", "\xff\x80", "*?~$HOME"}) {
    EXPECT_EQ(NormalizeString(path), path);
  }
  const std::string with_nul("a\0b/c", 5);
  EXPECT_EQ(NormalizeString(with_nul), with_nul);
}

TEST(NormalizeString, TakesMillionsOfSlashesInItsStride) {
  EXPECT_EQ(NormalizeString("a" + std::string(3'000'000, '/') + "b"), "a/b");
  EXPECT_EQ(NormalizeString(std::string(3'000'000, '\\')), "/");
}

TEST(NormalizeString, LeavesNoBackslashNoDoubledAndNoLastSlash) {
  for (const std::string& path : kOddPaths) {
    const std::string normal = NormalizeString(path);
    EXPECT_EQ(normal.find('\\'), std::string::npos) << path;
    EXPECT_EQ(normal.find("//"), std::string::npos) << path;
    EXPECT_TRUE(normal == "/" || !normal.ends_with('/')) << path;
  }
}

TEST(NormalizeString, ChangesNothingTheSecondTimeWithoutQuotes) {
  for (const std::string& path : kOddPaths) {
    if (!IsFreeOfQuotes(path)) continue;
    const std::string once = NormalizeString(path);
    EXPECT_EQ(NormalizeString(once), once) << path;
  }
}

TEST(ToSlashes, TurnsEveryBackslashAndNothingElse) {
  EXPECT_EQ(ToSlashes("a\\\\b/"), "a//b/");
  EXPECT_EQ(ToSlashes("\"\\a;b\\\""), "\"/a;b/\"");
  EXPECT_EQ(ToSlashes("/a//b:c"), "/a//b:c");
  EXPECT_EQ(ToSlashes(""), "");
}

TEST(ToColons, TurnsEverySemicolonAndNothingElse) {
  EXPECT_EQ(ToColons("a;;b"), "a::b");
  EXPECT_EQ(ToColons(";C:\\x;\"/y//\";"), ":C:\\x:\"/y//\":");
  EXPECT_EQ(ToColons("/a:/b"), "/a:/b");
  EXPECT_EQ(ToColons(""), "");
}

}  // namespace
}  // namespace kvl::test
