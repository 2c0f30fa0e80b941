#include "insio/path_text.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::NormalizeString;
using KVLInsIO::ToColons;
using KVLInsIO::ToSlashes;

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

TEST(NormalizeString, FollowsItsRules) {
  struct Row {
    std::string name, given, expected;
  };
  const std::string with_nul("a\0b/c", 5);
  for (const Row& row : std::vector<Row>{
           {"nothing", "", ""},
           {"quotes, backslashes, a doubled and a last slash", "\"X:\\dir\\\\sub\\\"",
            "X:/dir/sub"},
           {"three slashes are one", "///", "/"},
           {"a relative path", "a//b///", "a/b"},
           {"runs of any length", "//a///b////c/////", "/a/b/c"},
           {"single quotes", "'a b'", "a b"},
           {"quotes that are no pair", "\"a'", "\"a'"},
           {"a lone single quote goes", "'", ""},
           {"a lone double quote stays", "\"", "\""},
           {"only one pair is dropped", "\"\"a\"\"", "\"a\""},
           {"quotes go before slashes are looked at", "\"/a/\"", "/a"},
           {"quotes inside", "'a'/'b'", "a'/'b"},
           {"blanks and characters of a shell", " a /*?~$HOME;b:c", " a /*?~$HOME;b:c"},
           {"bytes of no text", "\xff\x80", "\xff\x80"},
           {"a NUL byte", with_nul, with_nul},
           {"millions of slashes", "a" + std::string(3'000'000, '/') + "b", "a/b"},
           {"millions of backslashes", std::string(3'000'000, '\\'), "/"},
       }) {
    EXPECT_EQ(NormalizeString(row.given), row.expected) << row.name;
  }
}

TEST(ToSlashes, TurnsEveryBackslashAndNothingElse) {
  EXPECT_EQ(ToSlashes("a\\\\b/"), "a//b/");
  EXPECT_EQ(ToSlashes("\"\\a;b\\\"//c:"), "\"/a;b/\"//c:");
  EXPECT_EQ(ToSlashes(""), "");
}

TEST(ToColons, TurnsEverySemicolonAndNothingElse) {
  EXPECT_EQ(ToColons("a;;b"), "a::b");
  EXPECT_EQ(ToColons(";C:\\x;\"/y//\";"), ":C:\\x:\"/y//\":");
  EXPECT_EQ(ToColons(""), "");
}

}  // namespace
}  // namespace kvl::test
