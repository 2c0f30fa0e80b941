#include "insio/path_text.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

TEST(PathSeparators, HaveTheirValuesAndAreAddedToTexts) {
  const std::string a = "a";
  EXPECT_EQ(a + kPathSeparator, "a/");
  EXPECT_EQ(kPathListSeparator + a, ":a");
  EXPECT_EQ(a + kForeignPathSeparator, "a\\");
  EXPECT_EQ(kForeignPathListSeparator + a, ";a");
  EXPECT_EQ(a + kDoubledSeparator, "a//");
}

TEST(NormalizeString, FollowsItsRules) {
  struct Row {
    std::string name, given, expected;
  };
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
           {"millions of slashes", "a" + std::string(3'000'000, '/') + "b", "a/b"},
           {"millions of backslashes", std::string(3'000'000, '\\'), "/"},
       }) {
    EXPECT_EQ(NormalizeString(row.given), row.expected) << row.name;
  }
}

TEST(ToSlashes, TurnsEveryBackslashAndNothingElse) {
  EXPECT_EQ(ToSlashes("a\\\\b/"), "a//b/");
  EXPECT_EQ(ToSlashes("\"\\a;b\\\"//c:"), "\"/a;b/\"//c:");
}

TEST(ToColons, TurnsEverySemicolonAndNothingElse) {
  EXPECT_EQ(ToColons("a;;b"), "a::b");
  EXPECT_EQ(ToColons(";C:\\x;\"/y//\";"), ":C:\\x:\"/y//\":");
}

}  // namespace
}  // namespace kvl::test
