#include "insio/path.h"

#include <unordered_set>

#include "insio/path_text.h"
#include "tests/insio/odd_paths.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Combine;
using KVLInsIO::InsPath;
using KVLInsIO::Join;
using KVLInsIO::MakeRelative;
using KVLInsIO::NormalizeString;

/// Two paths and what an operation makes of them.
struct PairRow {
  std::string left;
  std::string right;
  std::string expected;
};

void ExpectRelative(const std::vector<PairRow>& rows) {
  for (const PairRow& row : rows) {
    EXPECT_EQ(MakeRelative(InsPath(row.left), InsPath(row.right)).Str(), row.expected)
        << "from " << row.left << " to " << row.right;
  }
}

void ExpectEmptyAndRelative(const InsPath& path) {
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_FALSE(path.IsAbsolute());
  EXPECT_EQ(path.Str(), "");
  EXPECT_EQ(path.Root(), "");
  EXPECT_EQ(path.RelativePart(), "");
  EXPECT_EQ(path.FileName(), "");
}

TEST(InsPath, IsEmptyAndRelativeByDefault) {
  ExpectEmptyAndRelative(InsPath());
}

TEST(InsPath, IsEmptyAndRelativeAfterClear) {
  InsPath path("/usr/lib");
  path.Clear();
  ExpectEmptyAndRelative(path);
}

TEST(InsPath, IsTakenApartAsItsHeaderSays) {
  struct Row {
    std::string path, root, relative_part, file_name, parent;
  };
  const std::vector<Row> rows = {
      {"", "", "", "", ""},
      {"/", "/", "", "", ""},
      {"a", "", "a", "a", ""},
      {"a/b", "", "a/b", "b", "a"},
      {"a/b/x", "", "a/b/x", "x", "a/b"},
      {"/a", "/", "", "", "/"},
      {"/abc", "/", "bc", "bc", "/"},
      {"/m/x", "/", "/x", "x", "/m"},
      {"/usr/lib", "/", "sr/lib", "lib", "/usr"},
      {".", "", ".", ".", ""},
      {"a/.", "", "a/.", ".", "a"},
      {"/.", "/", "", "", "/"},
      {"/m/.", "/", "/.", ".", "/m"},
      {"/..", "/", ".", ".", "/"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path);
    const InsPath path(row.path);
    EXPECT_EQ(path.Root(), row.root);
    EXPECT_EQ(path.RelativePart(), row.relative_part);
    EXPECT_EQ(path.FileName(), row.file_name);
    EXPECT_EQ(path.Parent().Str(), row.parent);
    EXPECT_EQ(path.Parent().IsAbsolute(), row.parent.starts_with('/'));
  }
}

TEST(InsPath, NormalisesWhatItIsGiven) {
  for (const std::string& text : kOddPaths) {
    const InsPath path(text);
    EXPECT_EQ(path.Str(), NormalizeString(text));
    EXPECT_EQ(path.IsEmpty(), path.Str().empty()) << text;
    EXPECT_EQ(path.IsAbsolute(), path.Str().starts_with('/')) << text;
  }
}

TEST(InsPath, IsAbsoluteOrNotByTheNormalisedText) {
  const std::vector<std::pair<std::string, bool>> rows = {
      {"///", true},   {"\\a", true}, {"'/a'", true}, {"\"\\\"", true},
      {"C:/a", false}, {"'", false},  {"\"", false},  {"a//b///", false},
  };
  for (const auto& [text, absolute] : rows) {
    EXPECT_EQ(InsPath(text).IsAbsolute(), absolute) << text;
  }
}

TEST(InsPath, ComparesTheNormalisedTexts) {
  EXPECT_EQ(InsPath("a/"), InsPath("a"));
  EXPECT_EQ(InsPath("'\\a\\'"), InsPath("//a"));
  EXPECT_EQ(InsPath(), InsPath("''"));
  EXPECT_NE(InsPath("a"), InsPath("A"));
  EXPECT_NE(InsPath("/a"), InsPath("a"));
  EXPECT_NE(InsPath("a/./b"), InsPath("a/b"));
}

TEST(InsPath, IsOrderedByTheBytesOfItsText) {
  const std::set<InsPath> paths = {InsPath("b"),  InsPath("a/b"), InsPath("\xC3\xA4"),
                                   InsPath("/a"), InsPath("a-b"), InsPath("a//"),
                                   InsPath("a"),  InsPath()};
  std::vector<std::string> texts;
  for (const InsPath& path : paths) texts.push_back(path.Str());
  EXPECT_EQ(texts, (std::vector<std::string>{"", "/a", "a", "a-b", "a/b", "b", "\xC3\xA4"}));
  EXPECT_GE(InsPath("a/"), InsPath("a"));
  EXPECT_LE(InsPath("a/"), InsPath("a"));
}

TEST(InsPath, CanBeLookedUpByItsHash) {
  const std::unordered_set<InsPath> paths = {InsPath("a/"), InsPath("a"), InsPath("/a"), InsPath()};
  EXPECT_EQ(paths.size(), 3U);
  EXPECT_TRUE(paths.contains(InsPath("'a'")));
  EXPECT_FALSE(paths.contains(InsPath("b")));
}

TEST(InsPath, IsCopiedAndMovedWithItsRoot) {
  const InsPath original("/usr/lib");
  InsPath copy = original;
  EXPECT_EQ(copy, original);
  EXPECT_TRUE(copy.IsAbsolute());
  InsPath moved = std::move(copy);
  EXPECT_EQ(moved, original);
  EXPECT_TRUE(moved.IsAbsolute());
  InsPath assigned("relative");
  assigned = original;
  EXPECT_EQ(assigned, original);
  EXPECT_TRUE(assigned.IsAbsolute());
  assigned = InsPath("relative");
  assigned = std::move(moved);
  EXPECT_EQ(assigned, original);
  EXPECT_EQ(assigned.Root(), "/");
}

TEST(InsPath, IsNoLongerAbsoluteWhenMovedFrom) {
  InsPath constructed_from("/a");
  const InsPath first = std::move(constructed_from);
  InsPath assigned_from("/b");
  InsPath second;
  second = std::move(assigned_from);
  // NOLINTBEGIN(bugprone-use-after-move): what is left behind is the claim
  EXPECT_FALSE(constructed_from.IsAbsolute());
  EXPECT_FALSE(assigned_from.IsAbsolute());
  // NOLINTEND(bugprone-use-after-move)
}

TEST(InsPath, SurvivesBeingMovedToItself) {
  InsPath path("/usr/lib");
  InsPath& same = path;
  path = std::move(same);
  EXPECT_EQ(path.Str(), "/usr/lib");
  EXPECT_TRUE(path.IsAbsolute());
}

TEST(Parent, IsShorterThanThePathAndEndsInTheEmptyOne) {
  for (const std::string& text : kOddPaths) {
    for (InsPath path(text); !path.IsEmpty(); path = path.Parent()) {
      ASSERT_LT(path.Parent().Str().size(), path.Str().size()) << text;
    }
  }
}

TEST(Parent, IsTheTextBeforeTheLastSlashWithItsQuotes) {
  EXPECT_EQ(InsPath("'a'/x").Parent().Str(), "'a'");
  EXPECT_EQ(InsPath("\"a b\"/x").Parent().Str(), "\"a b\"");
}

TEST(FileName, IsTheEndOfTheRelativePartAndThatOfThePath) {
  for (const std::string& text : kOddPaths) {
    const InsPath path(text);
    EXPECT_TRUE(path.Str().ends_with(path.RelativePart())) << text;
    EXPECT_TRUE(path.RelativePart().ends_with(path.FileName())) << text;
    EXPECT_EQ(path.FileName().find('/'), std::string::npos) << text;
  }
}

const std::vector<PairRow> kJoined = {
    {"a", "b", "a/b"},        {"a/", "/b", "a/b"},   {"/m", "", "/m"},    {"/m", "/x", "/m/x"},
    {"", "x", "/x"},          {"", "b", "/b"},       {"", "", "/"},       {"/", "x", "/x"},
    {"a", "b\\c\\", "a/b/c"}, {"a", "'b'", "a/'b'"}, {"a", "..", "a/.."},
};

TEST(Join, PutsASlashBetweenAndNormalises) {
  for (const PairRow& row : kJoined) {
    EXPECT_EQ(Join(row.left, row.right).Str(), row.expected) << row.left << " and " << row.right;
  }
}

TEST(Join, TakesPathsAsTheirTexts) {
  for (const PairRow& row : kJoined) {
    const InsPath left(row.left), right(row.right);
    EXPECT_EQ(Join(left, right), Join(left.Str(), right.Str())) << row.left << " and " << row.right;
    EXPECT_EQ(Join(left, row.right), Join(left.Str(), row.right)) << row.left;
  }
}

TEST(Join, OfAnEmptyTextIsAbsolute) {
  EXPECT_TRUE(Join("", "x").IsAbsolute());
  EXPECT_TRUE(Join("", "").IsAbsolute());
  EXPECT_FALSE(Join("a", "").IsAbsolute());
}

TEST(Join, TakesQuotesAroundTheWholeForEnclosingOnes) {
  EXPECT_EQ(Join("\"a b", "c\"").Str(), "a b/c");
  EXPECT_EQ(Join("\"a b\"", "c").Str(), "\"a b\"/c");
}

TEST(Append, GivesWhatJoinGives) {
  for (const PairRow& row : kJoined) {
    InsPath path(row.left);
    InsPath& result = path /= row.right;
    EXPECT_EQ(path.Str(), row.expected) << row.left << " and " << row.right;
    EXPECT_EQ(path.IsAbsolute(), row.expected.starts_with('/')) << row.left;
    EXPECT_EQ(&result, &path);
  }
}

TEST(Append, TakesThePathsOwnText) {
  InsPath path("a/b");
  path /= path.Str();
  EXPECT_EQ(path.Str(), "a/b/a/b");
}

TEST(Append, TakesAPathAsItsText) {
  const InsPath added("'b\\c'");
  InsPath path("a");
  InsPath& result = path /= added;
  EXPECT_EQ(&result, &path);
  EXPECT_EQ(path.Str(), "a/b/c");
  const InsPath& same = path;
  path /= same;
  EXPECT_EQ(path.Str(), "a/b/c/a/b/c");
}

TEST(Slash, ChangesAndReturnsItsLeftOperand) {
  InsPath path("/a");
  InsPath& result = path / "b" / "c";
  EXPECT_EQ(&result, &path);
  EXPECT_EQ(path.Str(), "/a/b/c");
  const InsPath other("d");
  EXPECT_EQ(&(path / other), &path);
  EXPECT_EQ(path.Str(), "/a/b/c/d");
}

TEST(Combine, TakesAPathAsSeenFromABase) {
  const std::vector<PairRow> rows = {
      {"/base", "/abs", "/abs"},   {"/base", "rel", "/base/rel"},
      {"/base", "", "/base"},      {"base", "rel/x", "base/rel/x"},
      {"base", "/", "/"},          {"", "rel", "/rel"},
      {"", "/abs", "/abs"},        {"", "", ""},
      {"/base", "..", "/base/.."},
  };
  for (const PairRow& row : rows) {
    EXPECT_EQ(Combine(InsPath(row.left), InsPath(row.right)).Str(), row.expected)
        << row.left << " and " << row.right;
  }
}

TEST(MakeRelative, FollowsTheExamplesOfItsHeader) {
  ExpectRelative({
      {"/usr/lib", "/usr/share/x", "../share/x"},
      {"/usr/lib/x", "/usr", "../.."},
      {"/usr", "/usr/lib", "lib"},
      {"/usr/lib", "/opt/x", "../../pt/x"},
      {"/", "/usr/lib", "sr/lib"},
      {"/usr", "/asr/lib", "lib"},
      {"/am/1", "/am/1/'x'", "x"},
      {"/am/1", "/am/2/'x'", "../2/'x'"},
      {"/a/b", "/a/b/\"/c\"", "/c"},
      {"/", "/m", ""},
      {"/m", "/n", ""},
      {"/m", "/m/1/x", "1/x"},
      {"/m/1", "/m/2", "../2"},
      {"a/b", "x/y", "../../x/y"},
      {"a", "x", "../x"},
      {"", "x", "../x"},
  });
}

TEST(MakeRelative, HasNoAnswerForNothingOrForTwoSortsOfPaths) {
  ExpectRelative({
      {"/usr", "", ""},
      {"usr", "", ""},
      {"", "", ""},
      {"/usr", "lib", ""},
      {"usr", "/lib", ""},
      {"", "/lib", ""},
  });
}

TEST(MakeRelative, FromTheRootDoesNotThrow) {
  ExpectRelative({
      {"/", "/", ""},
      {"/", "/usr", "sr"},
      {"/usr", "/", ".."},
      {"/usr/lib/x", "/", "../../.."},
  });
}

TEST(MakeRelative, ComparesWholeComponents) {
  ExpectRelative({
      {"/usr/lib", "/usr/libx", "../libx"},
      {"/usr/libx", "/usr/lib", "../lib"},
      {"/usr", "/usrx/lib", "../srx/lib"},
      {"/usr/a/lib", "/usr/b/lib", "../../b/lib"},
  });
}

TEST(MakeRelative, NeverBeginsWithASlashWhateverTheFirstName) {
  const std::vector<std::string> paths = {"/", "/m", "/m/x", "/n/x/y", "/usr", "/usr/x"};
  for (const std::string& from : paths) {
    for (const std::string& to : paths) {
      EXPECT_FALSE(MakeRelative(InsPath(from), InsPath(to)).IsAbsolute()) << from << " to " << to;
    }
  }
}

TEST(MakeRelative, BetweenEqualAbsolutePathsIsEmpty) {
  for (const std::string path : {"/", "/usr", "/usr/", "/usr/lib/x"}) {
    EXPECT_EQ(MakeRelative(InsPath(path), InsPath(path)), InsPath()) << path;
  }
}

TEST(MakeRelative, LooksForNoCommonBeginningOfRelativePaths) {
  ExpectRelative({
      {"a", "a", "../a"},
      {"a/b", "a/b", "../../a/b"},
      {"a/b", "a", "../../a"},
      {"a/b/c/d", "x", "../../../../x"},
      {"..", "x", "../x"},
  });
}

TEST(MakeRelative, LeadsFromAnAncestorToThePath) {
  for (const std::string text : {"/usr/lib/a/b", "/opt/x y/'z'/w", "/media/1/inst/linux/code"}) {
    const InsPath to(text);
    for (InsPath from = to; from.Str().size() > 1; from = from.Parent()) {
      EXPECT_EQ(Combine(from, MakeRelative(from, to)), to) << from.Str();
    }
  }
}

}  // namespace
}  // namespace kvl::test
