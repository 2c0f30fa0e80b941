#include "insio/tree_level.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/insio/tree_test.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using namespace KVLInsIO::internal;

/// The identity of what must exist.
FileIdentity IdentityOf(const std::string& path) {
  FileIdentity identity;
  EXPECT_TRUE(Identify(path, identity)) << path;
  return identity;
}

/// The full paths of a level's entries, sorted.
std::vector<std::string> PathsOf(TreeLevel level) {
  std::vector<std::string> paths;
  InsFileFinder& entries = level.Entries();
  for (; !entries.AtEnd(); FindNextFile(entries)) paths.push_back(entries.FullPath());
  std::sort(paths.begin(), paths.end());
  return paths;
}

TEST(Identify, GivesDeviceAndInodeOfWhatALinkLeadsTo) {
  const EveryKind world;
  for (const std::string name : {"file", "directory", "pipe", "link_to_file", "link_to_link"}) {
    const struct stat status = StatusOf(world.Path(name));
    EXPECT_EQ(IdentityOf(world.Path(name)), (FileIdentity{status.st_dev, status.st_ino}));
  }
  EXPECT_NE(IdentityOf(world.Path("file")), IdentityOf(world.Path("directory")));
}

TEST(Identify, OfWhatCannotBeReachedIsFalseAndChangesNothing) {
  const EveryKind world;
  for (const std::string& path : {std::string(), world.Path("missing"), world.Path("dangling_link"),
                                  world.Path("link_to_self"), world.Path("file/x")}) {
    FileIdentity identity = {1, 2};
    EXPECT_FALSE(Identify(path, identity)) << path;
    EXPECT_EQ(identity, (FileIdentity{1, 2}));
  }
}

TEST(FileIdentity, IsOrderedByDeviceAndInode) {
  EXPECT_LT((FileIdentity{1, 2}), (FileIdentity{1, 3}));
  EXPECT_LT((FileIdentity{1, 9}), (FileIdentity{2, 1}));
}

using TreeLevelTop = TreeTest;
using TreeLevelBelow = TreeTest;
using EntryLeadsBack = TreeTest;

TEST_F(TreeLevelTop, NamesItsEntriesByTheNormalisedPath) {
  Make({"a/b/entry", "a\\b -> a/b"});
  for (const std::string name : {"a/b", "a//b/", "a/b//", "a\\b"}) {
    EXPECT_THAT(PathsOf(TreeLevel::Top(Path(name))), ElementsAre(Path("a/b/entry"))) << name;
  }
}

TEST_F(TreeLevelTop, NamesItsEntriesByThePathAsGivenWhereTheOtherLeadsElsewhere) {
  Make({"a\\b/entry"});
  EXPECT_THAT(PathsOf(TreeLevel::Top(Path("a\\b"))), ElementsAre(Path("a\\b/entry")));
  Make({"a/b/decoy"});
  EXPECT_THAT(PathsOf(TreeLevel::Top(Path("a\\b"))), ElementsAre(Path("a\\b/entry")));
}

TEST_F(TreeLevelTop, OfWhatCannotBeOpenedHasNoEntries) {
  const EveryKind world;
  for (const std::string name : {"missing", "file", "dangling_link", "missing\\x"}) {
    EXPECT_THAT(PathsOf(TreeLevel::Top(world.Path(name))), IsEmpty()) << name;
  }
}

TEST_F(TreeLevelTop, RefusesAPathThatNormalisesToNothing) {
  for (const std::string path : {"", "''", "\"\""}) {
    EXPECT_EQ(FailureOf([&] { TreeLevel::Top(path); }), Exception("FindFirstFile - Path is empty"));
  }
}

TEST_F(TreeLevelBelow, NamesItsEntriesAsTheyAre) {
  Make({"tree/a\\b/'entry'"});
  TreeLevel top = TreeLevel::Top(Path("tree"));
  EXPECT_THAT(PathsOf(TreeLevel::Below(top)), ElementsAre(Path("tree/a\\b/'entry'")));
}

/// Goes down the only entry of each level. The last path, and how many descriptors are open there.
std::pair<std::string, std::size_t> LowestBelow(TreeLevel& above) {
  TreeLevel level = TreeLevel::Below(above);
  if (level.Entries().IsDirectory()) return LowestBelow(level);
  return {level.Entries().FullPath(), OpenDescriptors().size()};
}

TEST_F(TreeLevelBelow, KeepsFiveDirectoriesOpenHoweverDeepTheTree) {
  std::string file = "tree";
  for (int level = 0; level < 100; ++level) file += "/d";
  Make({file += "/file"});
  const std::size_t before = OpenDescriptors().size();
  TreeLevel top = TreeLevel::Top(Path("tree"));
  EXPECT_EQ(LowestBelow(top), std::pair(Path(file), before + 5));
}

TEST_F(TreeLevelBelow, LeavesTheLevelAboveItsFurtherEntries) {
  Make({"1/2/3/4/5/6/a/", "1/2/3/4/5/6/b/", "1/2/3/4/5/6/c/", "1/2/3/4/5/6/d/"});
  TreeLevel one = TreeLevel::Top(Path("1"));
  TreeLevel two = TreeLevel::Below(one), three = TreeLevel::Below(two);
  TreeLevel four = TreeLevel::Below(three), five = TreeLevel::Below(four);
  TreeLevel six = TreeLevel::Below(five);
  std::vector<std::string> seen;
  for (InsFileFinder& entries = six.Entries(); !entries.AtEnd(); FindNextFile(entries)) {
    EXPECT_THAT(PathsOf(TreeLevel::Below(six)), IsEmpty());
    seen.push_back(entries.FullPath());
  }
  const std::string above = Path("1/2/3/4/5/6/");
  EXPECT_THAT(seen,
              testing::UnorderedElementsAre(above + "a", above + "b", above + "c", above + "d"));
}

TEST_F(EntryLeadsBack, IsTrueForALinkToADirectoryOnTheWayAndNoOther) {
  Make({"outside/deep/", "to_tree -> tree"});
  const std::vector<std::pair<std::string, bool>> rows = {{".", true},
                                                          {"..", true},
                                                          {"../../tree", true},
                                                          {"../../to_tree", true},
                                                          {"../a/../.", true},
                                                          {Path("tree/a"), true},
                                                          {"../..", false},
                                                          {"../../outside", false},
                                                          {"../../outside/deep", false},
                                                          {"/", false}};
  for (const auto& [target, leads_back] : rows) {
    SCOPED_TRACE(target);
    const std::string link = directory_.Link("tree/a/link", target);
    TreeLevel top = TreeLevel::Top(Path("tree"));
    const TreeLevel below = TreeLevel::Below(top);
    EXPECT_EQ(below.EntryLeadsBack(), leads_back);
    EXPECT_TRUE(below.EntryIsBehindLink());
    fs::remove(link);
  }
}

TEST_F(EntryLeadsBack, IsTrueForADirectoryProperThatALinkHasLedTo) {
  Make({"above/tree/up -> .."});
  TreeLevel top = TreeLevel::Top(Path("above/tree"));
  TreeLevel above = TreeLevel::Below(top);
  EXPECT_EQ(above.Entries().Type(), kDirectory);
  EXPECT_TRUE(above.EntryIsBehindLink());
  EXPECT_TRUE(above.EntryLeadsBack());
}

TEST_F(EntryLeadsBack, IsFalseWithoutALinkOnTheWay) {
  Make({"tree/a/b/", "link -> tree"});
  TreeLevel top = TreeLevel::Top(Path("link"));
  const TreeLevel below = TreeLevel::Below(top);
  for (const TreeLevel* level : {&std::as_const(top), &below}) {
    EXPECT_FALSE(level->EntryIsBehindLink());
    EXPECT_FALSE(level->EntryLeadsBack());
  }
}

}  // namespace
}  // namespace kvl::test
