#include "insio/tree_level.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using namespace KVLInsIO::internal;

TEST(Identify, GivesDeviceAndInodeOfALinksTargetOrChangesNothing) {
  const EveryKind world;
  for (const std::string name : {"file", "directory", "pipe", "link_to_file", "link_to_link", "",
                                 "missing", "dangling_link", "link_to_self", "file/x"}) {
    const std::string path = name.empty() ? "" : world.Path(name);
    struct stat status;
    const bool is_there = ::stat(path.c_str(), &status) == 0;
    FileIdentity identity = {1, 2}, expected = identity;
    if (is_there) expected = {status.st_dev, status.st_ino};
    EXPECT_EQ(Identify(path, identity), is_there) << name;
    EXPECT_EQ(identity, expected) << name;
  }
}

using TreeLevelTest = InOwnDirectory;

TEST_F(TreeLevelTest, NamesItsEntriesByTheNormalisedPath) {
  Make({"a/b/entry", "a\\b -> a/b"});
  for (const std::string name : {"a/b", "a//b/", "a/b//", "a\\b"}) {
    EXPECT_EQ(TreeLevel::Top(Path(name)).Entries().FullPath(), Path("a/b/entry")) << name;
  }
}

/// Goes down through the only entry of each level. Returns the last path, and how many descriptors
/// are open there.
std::pair<std::string, std::size_t> LowestBelow(TreeLevel& above) {
  TreeLevel level = TreeLevel::Below(above);
  if (level.Entries().IsDirectory()) return LowestBelow(level);
  return {level.Entries().FullPath(), OpenDescriptors().size()};
}

TEST_F(TreeLevelTest, KeepsFiveDirectoriesOpenHoweverDeepTheTree) {
  std::string file = "tree";
  for (int level = 0; level < 100; ++level) file += "/d";
  Make({file += "/file"});
  TreeLevel top = TreeLevel::Top(Path("tree"));
  EXPECT_EQ(LowestBelow(top), std::pair(Path(file), descriptors_.size() + 5));
}

}  // namespace
}  // namespace kvl::test
