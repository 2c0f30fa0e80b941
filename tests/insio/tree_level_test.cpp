#include "insio/tree_level.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

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

using TreeLevelTop = InOwnDirectory;
using TreeLevelBelow = InOwnDirectory;

TEST_F(TreeLevelTop, NamesItsEntriesByTheNormalisedPath) {
  Make({"a/b/entry", "a\\b -> a/b"});
  for (const std::string name : {"a/b", "a//b/", "a/b//", "a\\b"}) {
    EXPECT_THAT(PathsOf(TreeLevel::Top(Path(name))), ElementsAre(Path("a/b/entry"))) << name;
  }
}

TEST_F(TreeLevelTop, NamesItsEntriesAsGivenWhereTheOtherLeadsElsewhere) {
  Make({"a\\b/entry"});
  EXPECT_THAT(PathsOf(TreeLevel::Top(Path("a\\b"))), ElementsAre(Path("a\\b/entry")));
  Make({"a/b/decoy"});
  EXPECT_THAT(PathsOf(TreeLevel::Top(Path("a\\b"))), ElementsAre(Path("a\\b/entry")));
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

}  // namespace
}  // namespace kvl::test
