#include "insio/delete.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/insio/tree_test.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Delete;
using KVLInsIO::DeleteContents;
using KVLInsIO::DeleteEmptyTree;

using DeleteTest = TreeTest;
using DeleteContentsTest = TreeTest;
using DeleteEmptyTreeTest = TreeTest;

TEST(Delete, RemovesAnEntryOfEveryKindAndNothingElse) {
  for (const Kind& kind : kEveryKind) {
    const EveryKind world, expected;
    fs::remove_all(expected.Path(kind.name));
    Delete(world.Path(kind.name));
    EXPECT_EQ(DescribeTree(world.Path()), DescribeTree(expected.Path())) << kind.name;
  }
}

TEST_F(DeleteTest, OfALinkToADirectoryLeavesTheDirectoryAndItsContents) {
  Make({"outside/file", "link -> outside", "tree/a/to_directory -> ../../outside",
        "tree/to_file -> ../outside/file"});
  Delete(Path("link"));
  Delete(Path("tree"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "f 644 outside/file = text"));
}

TEST(Delete, OfWhatCannotBeFoundDoesNothing) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const std::string& name : std::vector<std::string>{"missing", "missing/x", "file/x", "file/",
                                                          "link_to_self/x", TooLongName()}) {
    EXPECT_EQ(FailureOf([&] { Delete(world.Path(name)); }), kNoFailure) << name;
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST(Delete, RefusesAnEmptyPath) {
  EXPECT_EQ(FailureOf([] { Delete(""); }), Exception("Delete - empty path"));
  for (const std::string path : {"", "''", "\"\""}) {
    EXPECT_EQ(FailureOf([&] { DeleteContents(path); }), Exception("FindFirstFile - Path is empty"));
    EXPECT_FALSE(DeleteEmptyTree(path)) << path;
  }
}

TEST_F(DeleteTest, ReportsWhatCannotBeRemoved) {
  Make({"full/sub/file", "holding/empty/", "unseen/file"});
  SetMode(Path(""), 0777);
  SetMode(Path("full/sub"), 0555);
  SetMode(Path("holding"), 0555);
  SetMode(Path("unseen"), 0);
  const Failure expected = Exception("unlink - full/sub/file", EACCES);
  const std::vector<std::pair<std::string, Failure>> rows = {
      {"full/sub/file", expected},
      {"full/sub", expected},
      {"full", expected},
      {".//full//", Exception("unlink - ./full/sub/file", EACCES)},
      {"holding", Exception("rmdir - holding/empty", EACCES)},
      {"unseen", Exception("rmdir - unseen", ENOTEMPTY)}};
  for (const auto& row : rows) {
    EXPECT_EQ(OrdinaryUsersFailureOf(directory_, [&] { Delete(row.first); }), row.second);
  }
  EXPECT_EQ(OrdinaryUsersFailureOf(directory_, [] { DeleteContents("full//"); }), expected);
  const auto delete_empty = [] {
    if (DeleteEmptyTree("holding")) throw std::runtime_error("gone");
  };
  EXPECT_EQ(OrdinaryUsersFailureOf(directory_, delete_empty), kNoFailure);
  SetMode(Path("full/sub"), 0755);
  EXPECT_THAT(Tree("full"), ElementsAre("d 755 sub", "f 644 sub/file = text"));
  EXPECT_THAT(Tree("holding"), ElementsAre("d 755 empty"));
}

TEST_F(DeleteTest, ReportsADirectoryThatIsNamedInAWayThatCannotBeRemoved) {
  Make({"directory/", "link -> directory"});
  for (const auto& [name, error] :
       std::vector<std::pair<std::string, int>>{{"directory/.", EINVAL}, {"link/", ENOTDIR}}) {
    const std::string path = Path(name);
    EXPECT_EQ(FailureOf([&] { Delete(path); }), Exception("rmdir - " + path, error));
  }
  EXPECT_THAT(Tree(), ElementsAre("d 755 directory", "l link -> directory"));
}

TEST_F(DeleteTest, EndsWithTheFirstFailureAndClosesItsDirectories) {
  Make({"tree/a/b/file"});
  const auto tree = Tree();
  const auto descriptors = OpenDescriptors();
  {
    const FailingCall broken(FailingCall::kReadDir, EIO);
    EXPECT_EQ(FailureOf([this] { Delete(Path("tree")); }),
              Exception("readdir - " + Path("tree"), EIO));
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_EQ(Tree(), tree);
}

TEST(DeleteContents, EmptiesADirectoryOfEveryKindOfEntryAndLeavesIt) {
  const EveryKind world;
  DeleteContents(world.Path());
  EXPECT_THAT(DescribeTree(world.Path()), IsEmpty());
  EXPECT_TRUE(fs::exists(world.Path()));
}

TEST(DeleteContents, OfWhatCannotBeOpenedDoesNothing) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const std::string name : {"missing", "file", "link_to_file", "dangling_link", "pipe"}) {
    EXPECT_EQ(FailureOf([&] { DeleteContents(world.Path(name)); }), kNoFailure) << name;
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST_F(DeleteContentsTest, OfALinkEmptiesTheDirectoryThatItLeadsTo) {
  Make({"target/a/file", "link -> target"});
  DeleteContents(Path("link"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 target", "l link -> target"));
}

// A file has no entries, so no file is found in it; what remains to do is to delete it.
TEST_F(DeleteEmptyTreeTest, RemovesDirectoriesOnlyAndAFileAndWhatIsMissing) {
  Make({"tree/a/b/c/", "tree/d/", "file"});
  for (const std::string name : {"tree", "file", "missing", "missing/x"}) {
    EXPECT_TRUE(DeleteEmptyTree(Path(name))) << name;
  }
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(DeleteEmptyTreeTest, RemovesTheEmptyBranchesBesideAFileDeepInside) {
  Make({"tree/a/b/file", "tree/a/b/empty/x/", "tree/a/empty/", "tree/empty/y/z/"});
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/file = text"));
}

TEST(DeleteEmptyTree, IsStoppedByAnythingThatIsNoDirectory) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    if ((kind.type & 1) != 0) continue;
    const std::string tree = world.Directory().MakeDir("tree_" + kind.name);
    fs::rename(world.Path(kind.name), tree + "/entry");
    const auto before = DescribeTreeExactly(tree);
    EXPECT_FALSE(DeleteEmptyTree(tree)) << kind.name;
    EXPECT_EQ(DescribeTreeExactly(tree), before) << kind.name;
  }
}

TEST_F(DeleteEmptyTreeTest, FollowsALinkToADirectoryAndRemovesTheLink) {
  Make({"outside/file", "tree/link -> ../outside"});
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("outside/file"));
  Make({"outside/empty/"});
  EXPECT_TRUE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside"));
}

TEST_F(DeleteEmptyTreeTest, LeavesTheFilesOfADirectoryWhoseListBrokeOffBeforeThem) {
  Make({"tree/file", "tree/a/file"});
  const auto before = Tree();
  for (const int after : {0, 1, 2}) {
    const FailingCall broken(FailingCall::kReadDir, EIO, after, /*times=*/1);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << after;
    EXPECT_EQ(Tree(), before) << after;
  }
}

TEST_F(DeleteEmptyTreeTest, IsFalseWhenAnEntryCannotBeAskedForItsType) {
  const std::string tree = Path("tree");
  fs::create_directories(PathOfLength(tree, 4000));
  const auto before = Tree();
  Make({"tree/empty/"});
  // With a longer name above them, the deepest directories have paths that the system refuses.
  const std::string renamed = Path(std::string(200, 't'));
  fs::rename(tree, renamed);
  const auto descriptors = OpenDescriptors();
  EXPECT_FALSE(DeleteEmptyTree(renamed));
  EXPECT_EQ(OpenDescriptors(), descriptors);
  fs::rename(renamed, tree);
  EXPECT_EQ(Tree(), before);
}

/// A directory "w" that is named through an entry, an empty directory that comes first in the order
/// of the system, and ".."; so the way to the other entries ends with it.
class NamedThroughItsOwnEntry : public TreeTest {
 protected:
  /// Gives "w" four entries: what Make makes of a name and this ending.
  void MakeEntries(const std::string& ending) {
    Make({"w/a" + ending, "w/b" + ending, "w/c" + ending, "w/d" + ending});
    const std::string first = Path("w/" + Order()[0]);
    fs::remove_all(first);  // what is made anew stays first, or comes first
    fs::create_directory(first);
    order_ = Order();
    path_ = first + "/..";
    left_ = Tree();
    std::erase(left_, "d 755 w/" + order_[0]);
  }

  std::vector<std::string> Order() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Path("w"))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  std::vector<std::string> order_;
  std::string path_;
  std::vector<std::string> left_;  // the tree without the first entry
};

TEST_F(NamedThroughItsOwnEntry, AnEmptyTreeIsNotTakenForRemovedWhileFilesRemain) {
  MakeEntries("/file");
  EXPECT_FALSE(DeleteEmptyTree(path_));
  EXPECT_EQ(Tree(), left_);
}

TEST_F(NamedThroughItsOwnEntry, DeletionReportsTheFirstThatCannotBeFoundAnyMore) {
  for (const std::string ending : {"/file", "/", ""}) {
    MakeEntries(ending);
    EXPECT_EQ(FailureOf([this] { Delete(path_); }),
              Exception("lstat - " + path_ + "/" + order_[1], ENOENT));
    EXPECT_EQ(Tree(), left_);
    Clear();
  }
}

TEST_F(NamedThroughItsOwnEntry, DeletionReportsTheDirectoryWhenNothingElseIsInIt) {
  Make({"w/a/"});
  path_ = Path("w/a/..");
  EXPECT_EQ(FailureOf([this] { Delete(path_); }), Exception("rmdir - " + path_, ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 w"));
}

}  // namespace
}  // namespace kvl::test
