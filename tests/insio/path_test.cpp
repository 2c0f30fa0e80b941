#include "insio/path.h"

#include <unordered_set>

#include "tests/insio/odd_paths.h"
#include "tests/models/laws.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

// Compares normalising, taking apart, joining and comparing with a model of paths.
TEST(PathLaws, HoldForEveryOddPathAndEveryTwoOfThem) {
  for (const std::string& one : kOddPaths) {
    SCOPED_TRACE(one);
    EXPECT_NO_THROW(CheckPathLaws(one));
    for (const std::string& other : kOddPaths) {
      EXPECT_NO_THROW(CheckPathPairLaws(one, other)) << other;
    }
  }
}

TEST(InsPath, LosesTheCharacterBehindItsRootInItsFileName) {
  for (const auto& [path, file_name] : std::vector<std::pair<std::string, std::string>>{
           {"/usr/lib", "lib"}, {"/abc", "bc"}, {"/a", ""}, {"/m/x", "x"}, {"/k.", "."}}) {
    EXPECT_EQ(InsPath(path).FileName(), file_name) << path;
  }
}

TEST(InsPath, IsOrderedByTheBytesOfItsText) {
  const std::set<InsPath> paths = {InsPath("b"),  InsPath("a/b"), InsPath("\xC3\xA4"),
                                   InsPath("/a"), InsPath("a-b"), InsPath("a//"),
                                   InsPath("a"),  InsPath()};
  EXPECT_THAT(paths, ElementsAre(InsPath(), InsPath("/a"), InsPath("a"), InsPath("a-b"),
                                 InsPath("a/b"), InsPath("b"), InsPath("\xC3\xA4")));
  EXPECT_GE(InsPath("a/"), InsPath("a"));
  EXPECT_LE(InsPath("a/"), InsPath("a"));
}

TEST(InsPath, CanBeLookedUpByItsHash) {
  const std::unordered_set<InsPath> paths = {InsPath("a/"), InsPath("a"), InsPath("/a"), InsPath()};
  EXPECT_EQ(paths.size(), 3U);
  EXPECT_TRUE(paths.contains(InsPath("'a'")));
  EXPECT_FALSE(paths.contains(InsPath("b")));
}

TEST(InsPath, IsRelativeWhenMovedFromAndStaysWhenMovedOntoItself) {
  InsPath path("/usr/lib"), moved = std::move(path), assigned("relative");
  assigned = std::move(moved);
  // NOLINTBEGIN(bugprone-use-after-move): tests exactly that
  EXPECT_FALSE(path.IsAbsolute());
  EXPECT_FALSE(moved.IsAbsolute());
  // NOLINTEND(bugprone-use-after-move)
  InsPath& same = assigned;
  assigned = std::move(same);
  EXPECT_EQ(assigned, InsPath("/usr/lib"));
  EXPECT_EQ(assigned.Root(), "/");
}

TEST(Join, PutsASlashBetweenAndNormalisesAsAppendDoes) {
  for (const auto& [left, right, expected] : std::vector<std::array<std::string, 3>>{
           {"a/", "/b", "a/b"},
           {"a", "'b'", "a/'b'"},
           {"\"a b", "c\"", "a b/c"},
       }) {
    EXPECT_EQ(Join(left, right).Str(), expected);
    const InsPath path(left), other(right);
    EXPECT_EQ(Join(path, right), Join(path.Str(), right));
    EXPECT_EQ(Join(path, other), Join(path.Str(), other.Str()));
    EXPECT_EQ(InsPath(path) /= right, Join(path, right));
    EXPECT_EQ(InsPath(path) /= other, Join(path, other));
  }
}

TEST(Append, TakesThePathItself) {
  InsPath path("a/b");
  path /= path.Str();
  EXPECT_EQ(path.Str(), "a/b/a/b");
  const InsPath& same = path;
  path /= same;
  EXPECT_EQ(path.Str(), "a/b/a/b/a/b/a/b");
}

TEST(Slash, ChangesAndReturnsItsLeftOperand) {
  InsPath path("/a");
  EXPECT_EQ(&(path / "b" / InsPath("c")), &path);
  EXPECT_EQ(path.Str(), "/a/b/c");
}

TEST(Combine, TakesAPathAsSeenFromABase) {
  EXPECT_EQ(Combine(InsPath("/base"), InsPath("/abs")), InsPath("/abs"));
  EXPECT_EQ(Combine(InsPath("/base"), InsPath("rel")), InsPath("/base/rel"));
  EXPECT_EQ(Combine(InsPath("/base"), InsPath()), InsPath("/base"));
}

TEST(MakeRelative, LeadsFromADirectoryToAPath) {
  struct Row {
    std::string name, from, to, expected;
  };
  for (const Row& row : std::vector<Row>{
           {"to nothing", "/usr", "", ""},
           {"from absolute to relative", "/usr", "lib", ""},
           {"from relative to absolute", "usr", "/lib", ""},
           {"to the same", "/usr/lib/x", "/usr/lib/x", ""},
           {"whole names are compared", "/usr/lib", "/usr/libx", "../libx"},
           {"relative paths have nothing in common", "a/b", "a/b", "../../a/b"},
       }) {
    EXPECT_EQ(MakeRelative(InsPath(row.from), InsPath(row.to)).Str(), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace kvl::test
