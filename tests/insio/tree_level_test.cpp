#include "insio/tree_level.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::FindNextFile;
using KVLInsIO::InsFileFinder;
using KVLInsIO::internal::FileIdentity;
using KVLInsIO::internal::Identify;
using KVLInsIO::internal::TreeLevel;

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
  for (const std::string name : {"file", "directory", "pipe"}) {
    const struct stat status = StatusOf(world.Path(name));
    EXPECT_EQ(IdentityOf(world.Path(name)), (FileIdentity{status.st_dev, status.st_ino}));
  }
  EXPECT_EQ(IdentityOf(world.Path("link_to_file")), IdentityOf(world.Path("file")));
  EXPECT_EQ(IdentityOf(world.Path("link_to_link")), IdentityOf(world.Path("directory/.")));
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

TEST(TreeLevelTop, NamesItsEntriesByTheNormalisedPath) {
  const TestDirectory directory;
  directory.Write("a/b/entry", "");
  for (const std::string name : {"a/b", "a//b/", "a/b//"}) {
    EXPECT_THAT(PathsOf(TreeLevel::Top(directory.Path(name))),
                ElementsAre(directory.Path("a/b/entry")))
        << name;
  }
  directory.Link("a\\b", "a/b");
  EXPECT_THAT(PathsOf(TreeLevel::Top(directory.Path("a\\b"))),
              ElementsAre(directory.Path("a/b/entry")));
}

TEST(TreeLevelTop, NamesItsEntriesByThePathAsGivenWhereTheNormalisedOneIsAnother) {
  const TestDirectory directory;
  directory.Write("a\\b/entry", "");
  EXPECT_THAT(PathsOf(TreeLevel::Top(directory.Path("a\\b"))),
              ElementsAre(directory.Path("a\\b/entry")));
  directory.Write("a/b/decoy", "");
  EXPECT_THAT(PathsOf(TreeLevel::Top(directory.Path("a\\b"))),
              ElementsAre(directory.Path("a\\b/entry")));
}

TEST(TreeLevelTop, OfWhatCannotBeOpenedHasNoEntries) {
  const EveryKind world;
  for (const std::string name : {"missing", "file", "dangling_link", "missing\\x"}) {
    EXPECT_THAT(PathsOf(TreeLevel::Top(world.Path(name))), IsEmpty()) << name;
  }
}

TEST(TreeLevelTop, RefusesAPathThatNormalisesToNothing) {
  for (const std::string path : {"", "''", "\"\""}) {
    EXPECT_EQ(FailureOf([&] { TreeLevel::Top(path); }), Exception("FindFirstFile - Path is empty"));
  }
}

TEST(TreeLevelBelow, NamesItsEntriesAsTheyAre) {
  const TestDirectory directory;
  directory.Write("tree/a\\b/'entry'", "");
  TreeLevel top = TreeLevel::Top(directory.Path("tree"));
  EXPECT_THAT(PathsOf(TreeLevel::Below(top)), ElementsAre(directory.Path("tree/a\\b/'entry'")));
}

/// Goes down the only entry of each level.
std::string LastPathBelow(TreeLevel& above) {
  TreeLevel level = TreeLevel::Below(above);
  return level.Entries().IsDirectory() ? LastPathBelow(level) : level.Entries().FullPath();
}

TEST(TreeLevelBelow, KeepsFewDirectoriesOpenHoweverDeepTheTree) {
  const TestDirectory directory;
  std::string below = "tree";
  for (int level = 0; level < 100; ++level) below += "/d";
  const std::string file = directory.Write(below + "/file", "");
  EXPECT_EQ(IsolatedFailureOf([&] {
              LimitDescriptors(16);
              TreeLevel top = TreeLevel::Top(directory.Path("tree"));
              if (LastPathBelow(top) != file) throw std::runtime_error("not found");
            }),
            kNoFailure);
}

/// How many directories are open at the lowest level.
std::size_t OpenAtTheLowest(TreeLevel& above) {
  TreeLevel level = TreeLevel::Below(above);
  return level.Entries().IsDirectory() ? OpenAtTheLowest(level) : OpenDescriptors().size();
}

TEST(TreeLevelBelow, KeepsFourDirectoriesOpenAboveTheOneThatItIsIn) {
  const TestDirectory directory;
  directory.Write("tree/a/b/c/d/e/f/g/h/i/file", "");
  const std::size_t before = OpenDescriptors().size();
  TreeLevel top = TreeLevel::Top(directory.Path("tree"));
  EXPECT_EQ(OpenAtTheLowest(top) - before, 4U + 1U);
}

TEST(TreeLevelBelow, LeavesTheLevelAboveItsFurtherEntries) {
  const TestDirectory directory;
  std::vector<std::string> expected;
  for (const std::string name : {"a", "b", "c", "d"}) {
    expected.push_back(directory.MakeDir("1/2/3/4/5/6/" + name));
  }
  TreeLevel one = TreeLevel::Top(directory.Path("1"));
  TreeLevel two = TreeLevel::Below(one), three = TreeLevel::Below(two);
  TreeLevel four = TreeLevel::Below(three), five = TreeLevel::Below(four);
  TreeLevel six = TreeLevel::Below(five);
  std::vector<std::string> seen;
  for (InsFileFinder& entries = six.Entries(); !entries.AtEnd(); FindNextFile(entries)) {
    EXPECT_THAT(PathsOf(TreeLevel::Below(six)), IsEmpty());
    seen.push_back(entries.FullPath());
  }
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(seen, expected);
}

TEST(EntryLeadsBack, IsTrueForALinkToADirectoryOnTheWayAndNoOther) {
  const TestDirectory directory;
  directory.MakeDir("outside/deep");
  directory.Link("to_tree", "tree");
  const std::vector<std::pair<std::string, bool>> rows = {
      {".", true},
      {"..", true},
      {"../../tree", true},
      {"../../to_tree", true},
      {"../a/../.", true},
      {directory.Path("tree/a"), true},
      {"../..", false},
      {"../../outside", false},
      {"../../outside/deep", false},
      {"/", false},
  };
  for (const auto& [target, leads_back] : rows) {
    SCOPED_TRACE(target);
    const std::string link = directory.Link("tree/a/link", target);
    TreeLevel top = TreeLevel::Top(directory.Path("tree"));
    const TreeLevel below = TreeLevel::Below(top);
    EXPECT_EQ(below.EntryLeadsBack(), leads_back);
    EXPECT_TRUE(below.EntryIsBehindLink());
    std::filesystem::remove(link);
  }
}

TEST(EntryLeadsBack, IsTrueForADirectoryProperThatALinkHasLedTo) {
  const TestDirectory directory;
  directory.Link("above/tree/up", "..");
  TreeLevel top = TreeLevel::Top(directory.Path("above/tree"));
  TreeLevel above = TreeLevel::Below(top);
  EXPECT_EQ(above.Entries().Type(), KVLInsIO::kDirectory);
  EXPECT_TRUE(above.EntryIsBehindLink());
  EXPECT_TRUE(above.EntryLeadsBack());
}

TEST(EntryLeadsBack, IsFalseWithoutALinkOnTheWay) {
  const TestDirectory directory;
  directory.MakeDir("tree/a/b");
  TreeLevel top = TreeLevel::Top(directory.Link("link", "tree"));
  const TreeLevel below = TreeLevel::Below(top);
  for (const TreeLevel* level : {&std::as_const(top), &below}) {
    EXPECT_FALSE(level->EntryIsBehindLink());
    EXPECT_FALSE(level->EntryLeadsBack());
  }
}

}  // namespace
}  // namespace kvl::test
