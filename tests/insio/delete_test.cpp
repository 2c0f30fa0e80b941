#include "insio/delete.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Delete;
using KVLInsIO::DeleteContents;
using KVLInsIO::DeleteEmptyTree;

/// An empty directory with a umask that is known.
class DeleteTest : public testing::Test {
 protected:
  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

using DeleteContentsTest = DeleteTest;
using DeleteEmptyTreeTest = DeleteTest;

/// The path in a line of DescribeTree that holds no blank.
std::string PathIn(const std::string& line) {
  std::istringstream words(line);
  std::string kind, mode, path;
  words >> kind;
  if (kind != "l") words >> mode;
  words >> path;
  return path;
}

/// `tree` without this entry and everything below it.
std::vector<std::string> Without(const std::string& entry, std::vector<std::string> tree) {
  std::erase_if(tree, [&entry](const std::string& line) {
    return PathIn(line) == entry || PathIn(line).starts_with(entry + "/");
  });
  return tree;
}

TEST(Delete, RemovesAnEntryOfEveryKindAndNothingElse) {
  for (const Kind& kind : kEveryKind) {
    const EveryKind world;
    const auto before = DescribeTree(world.Path());
    Delete(world.Path(kind.name));
    EXPECT_EQ(DescribeTree(world.Path()), Without(kind.name, before)) << kind.name;
    EXPECT_LT(DescribeTree(world.Path()).size(), before.size()) << kind.name;
  }
}

TEST(Delete, TwiceIsTheSameAsOnce) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    Delete(world.Path(kind.name));
    const auto once = DescribeTreeExactly(world.Path());
    Delete(world.Path(kind.name));
    EXPECT_EQ(DescribeTreeExactly(world.Path()), once) << kind.name;
  }
}

TEST(Delete, RemovesADirectoryWithEverythingInIt) {
  const EveryKind world;
  Delete(world.Path());
  EXPECT_FALSE(std::filesystem::exists(world.Path()));
}

TEST_F(DeleteTest, OfALinkToADirectoryLeavesTheDirectoryAndItsContents) {
  directory_.Write("target/file", "text");
  Delete(directory_.Link("link", "target"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 target", "f 644 target/file = text"));
}

TEST_F(DeleteTest, OfATreeLeavesWhatItsLinksLeadTo) {
  directory_.Write("outside/file", "text");
  directory_.Link("tree/a/to_directory", "../../outside");
  directory_.Link("tree/to_file", "../outside/file");
  Delete(directory_.Path("tree"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "f 644 outside/file = text"));
}

TEST_F(DeleteTest, RemovesEntriesOfEveryName) {
  for (const std::string& name : kOddNames) directory_.Write("tree/" + name + "/" + name, name);
  Delete(directory_.Path("tree"));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(DeleteTest, TakesThePathAsGiven) {
  directory_.Write("a/b", "kept");
  Delete(directory_.Write("a\\b", "removed"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "f 644 a/b = kept"));
}

TEST_F(DeleteTest, RemovesSeveralHundredLevels) {
  std::string path = "d";
  for (int level = 1; level < 500; ++level) path += "/d";
  directory_.Write(path + "/file", "");
  Delete(directory_.Path("d"));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST(Delete, OfWhatCannotBeFoundDoesNothing) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const std::string& name :
       {std::string("missing"), std::string("missing/x"), std::string("file/x"),
        std::string("file/"), std::string("link_to_self/x"), TooLongName()}) {
    EXPECT_EQ(FailureOf([&] { Delete(world.Path(name)); }), kNoFailure) << name;
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST(Delete, RefusesAnEmptyPath) {
  EXPECT_EQ(FailureOf([] { Delete(""); }), Exception("Delete - empty path"));
}

TEST_F(DeleteTest, ReportsAFileThatCannotBeRemoved) {
  SetMode(directory_.MakeDir("closed/sub"), 0755);
  directory_.Write("closed/sub/file", "text");
  SetMode(directory_.Path("closed/sub"), 0555);
  const auto before = DescribeTreeExactly(directory_.Path());
  for (const std::string path : {"closed/sub/file", "closed/sub", "closed"}) {
    EXPECT_EQ(IsolatedFailureOf([&] {
                EnterAsOrdinaryUser(directory_);
                Delete(path);
              }),
              Exception("unlink - closed/sub/file", EACCES))
        << path;
  }
  EXPECT_EQ(DescribeTreeExactly(directory_.Path()), before);
}

TEST_F(DeleteTest, NamesAnEntryByTheNormalisedDirectory) {
  directory_.Write("closed/sub/file", "text");
  SetMode(directory_.Path("closed/sub"), 0555);
  EXPECT_EQ(IsolatedFailureOf([&] {
              EnterAsOrdinaryUser(directory_);
              Delete(".//closed//");
            }),
            Exception("unlink - ./closed/sub/file", EACCES));
}

TEST_F(DeleteTest, ReportsADirectoryThatCannotBeRemoved) {
  directory_.MakeDir("closed/empty");
  SetMode(directory_.Path("closed"), 0555);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              Delete("closed");
            }),
            Exception("rmdir - closed/empty", EACCES));
}

TEST_F(DeleteTest, ReportsADirectoryWhoseContentsCannotBeSeen) {
  directory_.Write("closed/file", "");
  SetMode(directory_.Path("closed"), 0);
  SetMode(directory_.Path(), 0777);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              Delete("closed");
            }),
            Exception("rmdir - closed", ENOTEMPTY));
}

TEST_F(DeleteTest, ReportsADirectoryThatIsNamedInAWayThatCannotBeRemoved) {
  const std::vector<std::pair<std::string, int>> rows = {
      {directory_.MakeDir("directory") + "/.", EINVAL},
      {directory_.Link("link", "directory") + "/", ENOTDIR},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(FailureOf([&] { Delete(row.first); }), Exception("rmdir - " + row.first, row.second));
  }
  EXPECT_THAT(Tree(), ElementsAre("d 755 directory", "l link -> directory"));
}

TEST_F(DeleteTest, ReportsAFileThatNobodyMayRemove) {
  const std::string file = "/proc/self/comm";
  EXPECT_EQ(FailureOf([&] { Delete(file); }), Exception("unlink - " + file, EPERM));
}

TEST_F(DeleteTest, EndsWithTheFirstFailureAndClosesItsDirectories) {
  directory_.Write("tree/a/b/file", "");
  const auto tree = Tree();
  const auto descriptors = OpenDescriptors();
  {
    const FailingCall broken(FailingCall::kReadDir, EIO);
    EXPECT_EQ(FailureOf([this] { Delete(directory_.Path("tree")); }),
              Exception("readdir - " + directory_.Path("tree"), EIO));
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_EQ(Tree(), tree);
}

TEST(DeleteContents, EmptiesADirectoryOfEveryKindOfEntryAndLeavesIt) {
  const EveryKind world;
  DeleteContents(world.Path());
  EXPECT_THAT(DescribeTree(world.Path()), IsEmpty());
  EXPECT_TRUE(std::filesystem::exists(world.Path()));
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
  directory_.Write("target/a/file", "");
  DeleteContents(directory_.Link("link", "target"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 target", "l link -> target"));
}

TEST(DeleteContents, RefusesAnEmptyPath) {
  for (const std::string path : {"", "''"}) {
    EXPECT_EQ(FailureOf([&] { DeleteContents(path); }), Exception("FindFirstFile - Path is empty"));
  }
}

TEST_F(DeleteContentsTest, ReportsAFileThatCannotBeRemoved) {
  directory_.Write("closed/file", "");
  SetMode(directory_.Path("closed"), 0555);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              DeleteContents("closed//");
            }),
            Exception("unlink - closed/file", EACCES));
}

TEST_F(DeleteEmptyTreeTest, RemovesATreeOfDirectoriesOnly) {
  directory_.MakeDir("tree/a/b/c");
  directory_.MakeDir("tree/d");
  EXPECT_TRUE(DeleteEmptyTree(directory_.Path("tree")));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(DeleteEmptyTreeTest, RemovesTheEmptyBranchesBesideAFileDeepInside) {
  directory_.Write("tree/a/b/file", "text");
  directory_.MakeDir("tree/a/b/empty/x");
  directory_.MakeDir("tree/a/empty");
  directory_.MakeDir("tree/empty/y/z");
  EXPECT_FALSE(DeleteEmptyTree(directory_.Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 tree", "d 755 tree/a", "d 755 tree/a/b",
                                  "f 644 tree/a/b/file = text"));
}

TEST(DeleteEmptyTree, IsStoppedByAnythingThatIsNoDirectory) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    if ((kind.type & 1) != 0) continue;
    const std::string tree = world.Directory().MakeDir("tree_" + kind.name);
    std::filesystem::rename(world.Path(kind.name), tree + "/entry");
    const auto before = DescribeTreeExactly(tree);
    EXPECT_FALSE(DeleteEmptyTree(tree)) << kind.name;
    EXPECT_EQ(DescribeTreeExactly(tree), before) << kind.name;
  }
}

TEST_F(DeleteEmptyTreeTest, FollowsALinkToADirectoryAndRemovesTheLink) {
  directory_.MakeDir("outside/empty");
  directory_.Link("tree/link", "../outside");
  EXPECT_TRUE(DeleteEmptyTree(directory_.Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside"));
}

TEST_F(DeleteEmptyTreeTest, SeesAFileBehindALinkToADirectory) {
  directory_.Write("outside/file", "");
  directory_.Link("tree/link", "../outside");
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(directory_.Path("tree")));
  EXPECT_EQ(Tree(), before);
}

TEST_F(DeleteEmptyTreeTest, TakesAMissingDirectoryForRemoved) {
  EXPECT_TRUE(DeleteEmptyTree(directory_.Path("missing")));
  EXPECT_TRUE(DeleteEmptyTree(directory_.Path("missing/x")));
}

// A file has no entries, so no file is found in it; what remains to do is to delete it.
TEST_F(DeleteEmptyTreeTest, OfAFileRemovesTheFile) {
  EXPECT_TRUE(DeleteEmptyTree(directory_.Write("file", "text")));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(DeleteEmptyTreeTest, OfAnEmptyPathIsFalse) {
  for (const std::string path : {"", "''", "\"\""}) {
    EXPECT_FALSE(DeleteEmptyTree(path)) << path;
  }
}

TEST_F(DeleteEmptyTreeTest, IsFalseWhenADirectoryCannotBeRead) {
  directory_.MakeDir("tree/a");
  const FailingCall broken(FailingCall::kReadDir, EIO);
  EXPECT_FALSE(DeleteEmptyTree(directory_.Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 tree", "d 755 tree/a"));
}

TEST_F(DeleteEmptyTreeTest, LeavesTheFilesOfADirectoryWhoseListBrokeOffBeforeThem) {
  directory_.Write("tree/file", "text");
  directory_.Write("tree/a/file", "text");
  const auto before = Tree();
  for (const int after : {0, 1, 2}) {
    const FailingCall broken(FailingCall::kReadDir, EIO, after, /*times=*/1);
    EXPECT_FALSE(DeleteEmptyTree(directory_.Path("tree"))) << after;
    EXPECT_EQ(Tree(), before) << after;
  }
}

TEST_F(DeleteEmptyTreeTest, IsFalseWhenAnEntryCannotBeAskedForItsType) {
  const std::string tree = directory_.MakeDir("tree");
  std::filesystem::create_directories(PathOfLength(tree, 4000));
  const auto before = Tree();
  directory_.MakeDir("tree/empty");
  // With a longer name above them, the deepest directories have paths that the system refuses.
  const std::string renamed = directory_.Path(std::string(200, 't'));
  std::filesystem::rename(tree, renamed);
  const auto descriptors = OpenDescriptors();
  EXPECT_FALSE(DeleteEmptyTree(renamed));
  EXPECT_EQ(OpenDescriptors(), descriptors);
  std::filesystem::rename(renamed, tree);
  EXPECT_EQ(Tree(), before);
}

TEST_F(DeleteEmptyTreeTest, IsFalseWhenADirectoryCannotBeRemoved) {
  directory_.MakeDir("closed/empty");
  SetMode(directory_.Path("closed"), 0555);
  EXPECT_EQ(RunIsolated([this] {
              EnterAsOrdinaryUser(directory_);
              return DeleteEmptyTree("closed") ? 1 : 0;
            }).status,
            0);
  EXPECT_THAT(Tree(), ElementsAre("d 555 closed", "d 755 closed/empty"));
}

/// A directory "w" that is named through an entry, an empty directory that comes first in the order
/// of the system, and ".."; so the way to the other entries ends with it.
class NamedThroughItsOwnEntry : public DeleteTest {
 protected:
  /// Gives "w" four entries, which `make` makes.
  void MakeEntries(const std::function<void(const std::string& path)>& make) {
    for (const std::string name : {"a", "b", "c", "d"}) make(directory_.MakeDir("w") + "/" + name);
    const std::string first = directory_.Path("w/" + Order()[0]);
    std::filesystem::remove_all(first);  // what is made anew stays first, or comes first
    std::filesystem::create_directory(first);
    order_ = Order();
    path_ = first + "/..";
  }

  std::vector<std::string> Order() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.Path("w"))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  std::vector<std::string> TreeWithoutTheFirst() const { return Without("w/" + order_[0], Tree()); }

  std::vector<std::string> order_;
  std::string path_;
};

void MakeDirectoryWithAFile(const std::string& path) {
  std::filesystem::create_directory(path);
  std::ofstream(path + "/file");
}

void MakeEmptyDirectory(const std::string& path) {
  std::filesystem::create_directory(path);
}

void MakeFile(const std::string& path) {
  std::ofstream file(path);
}

TEST_F(NamedThroughItsOwnEntry, AnEmptyTreeIsNotTakenForRemovedWhileFilesRemain) {
  MakeEntries(MakeDirectoryWithAFile);
  const auto left = TreeWithoutTheFirst();
  EXPECT_FALSE(DeleteEmptyTree(path_));
  EXPECT_EQ(Tree(), left);
}

TEST_F(NamedThroughItsOwnEntry, DeletionReportsTheFirstEntryThatCannotBeFoundAnyMore) {
  for (const auto make : {MakeDirectoryWithAFile, MakeEmptyDirectory, MakeFile}) {
    MakeEntries(make);
    const auto left = TreeWithoutTheFirst();
    EXPECT_EQ(FailureOf([this] { Delete(path_); }),
              Exception("lstat - " + path_ + "/" + order_[1], ENOENT));
    EXPECT_EQ(Tree(), left);
    std::filesystem::remove_all(directory_.Path("w"));
  }
}

TEST_F(NamedThroughItsOwnEntry, DeletionReportsTheDirectoryItselfWhenNothingElseIsInIt) {
  path_ = directory_.MakeDir("w/a") + "/..";
  EXPECT_EQ(FailureOf([this] { Delete(path_); }), Exception("rmdir - " + path_, ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 w"));
}

TEST_F(DeleteEmptyTreeTest, RemovesSeveralHundredLevels) {
  std::string path = "d";
  for (int level = 1; level < 500; ++level) path += "/d";
  directory_.MakeDir(path);
  EXPECT_TRUE(DeleteEmptyTree(directory_.Path("d")));
  EXPECT_THAT(Tree(), IsEmpty());
}

}  // namespace
}  // namespace kvl::test
