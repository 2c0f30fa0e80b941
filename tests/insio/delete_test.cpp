#include "insio/delete.h"

#include "insio/copy.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using DeleteTest = InOwnDirectory;
using EmptyTree = InOwnDirectory;

TEST(Delete, RemovesAnEntryOfEveryKindAndNothingElse) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    const EveryKind one, expected;
    fs::remove_all(expected.Path(kind.name));
    Delete(one.Path(kind.name));
    EXPECT_EQ(DescribeTree(one.Path()), DescribeTree(expected.Path())) << kind.name;
  }
  DeleteContents(world.Path());
  EXPECT_TRUE(fs::is_empty(world.Path()));
}

TEST_F(DeleteTest, OfALinkLeavesTheDirectoryThatItLeadsTo) {
  Make({"outside/file", "link -> outside", "tree/a/to_directory -> ../../outside",
        "tree/to_file -> ../outside/file", "tree/self -> .", "tree/up -> ..",
        "tree/by_name -> ../tree", "tree/round -> round", "emptied/a/file", "to -> emptied"});
  Delete(Path("link"));
  Delete(Path("tree"));
  DeleteContents(Path("to"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 emptied", "d 755 outside", "f 644 outside/file = text",
                                  "l to -> emptied"));
}

TEST(Delete, OfWhatIsMissingOrCannotBeOpenedDoesNothing) {
  const EveryKind world;
  const Unchanged tree(world.Path());
  for (const std::string& name : std::vector<std::string>{"missing", "missing/x", "file/x", "file/",
                                                          "link_to_self/x", TooLongName()}) {
    EXPECT_EQ(FailureOf([&] { Delete(world.Path(name)); }), kNoFailure) << name;
  }
  for (const std::string name :
       {"missing", "missing\\x", "file", "link_to_file", "dangling_link", "pipe"}) {
    EXPECT_EQ(FailureOf([&] { DeleteContents(world.Path(name)); }), kNoFailure) << name;
  }
}

TEST(Delete, RefusesAnEmptyPath) {
  EXPECT_EQ(FailureOf([] { Delete(""); }), Exception("Delete - empty path"));
  for (const std::string path : {"", "''", "\"\""}) {
    EXPECT_EQ(FailureOf([&] { DeleteContents(path); }), Exception("FindFirstFile - Path is empty"));
    EXPECT_FALSE(DeleteEmptyTree(path)) << path;
  }
}

TEST_F(DeleteTest, ReportsWhatCannotBeRemoved) {
  Make({"full/sub/file", "holding/empty/", "unseen/file", "bare/", "link -> bare"});
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
      {"bare/.", Exception("rmdir - bare/.", EINVAL)},
      {"link/", Exception("rmdir - link/", ENOTDIR)},
      {"unseen", Exception("rmdir - unseen", ENOTEMPTY)}};
  for (const auto& row : rows) {
    EXPECT_EQ(FailureAsOrdinaryUser([&] { Delete(row.first); }), row.second);
  }
  EXPECT_EQ(FailureAsOrdinaryUser([] { DeleteContents("full//"); }), expected);
  const auto delete_empty = [] {
    if (DeleteEmptyTree("holding")) throw std::runtime_error("gone");
  };
  EXPECT_EQ(FailureAsOrdinaryUser(delete_empty), kNoFailure);
  SetMode(Path("full/sub"), 0755);
  EXPECT_THAT(Tree("full"), ElementsAre("d 755 sub", "f 644 sub/file = text"));
  EXPECT_THAT(Tree("holding"), ElementsAre("d 755 empty"));
}

TEST_F(DeleteTest, EndsWithTheFirstFailureAndClosesItsDirectories) {
  Make({"tree/a/b/file"});
  const auto tree = Tree();
  {
    const FailingCall broken(FailingCall::kReadDir, EIO);
    EXPECT_EQ(FailureOf([this] { Delete(Path("tree")); }),
              Exception("readdir - " + Path("tree"), EIO));
  }
  EXPECT_EQ(Tree(), tree);
}

// A file has no entries and so contains no file. Therefore it counts as an empty tree and is
// deleted.
TEST_F(EmptyTree, MayBeATreeOfDirectoriesAFileOrMissing) {
  Make({"tree/a/b/c/", "tree/d/", "file"});
  for (const std::string name : {"tree", "file", "missing", "missing/x"}) {
    EXPECT_TRUE(DeleteEmptyTree(Path(name))) << name;
  }
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(EmptyTree, LosesTheEmptyBranchesBesideAFileDeepInside) {
  Make({"tree/a/b/file", "tree/a/b/empty/x/", "tree/a/empty/", "tree/empty/y/z/"});
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/file = text"));
}

TEST(DeleteEmptyTree, IsStoppedByAnythingThatIsNoDirectory) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    if ((kind.type & 1) != 0) continue;
    const std::string tree = world.MakeDir("tree_" + kind.name);
    fs::rename(world.Path(kind.name), tree + "/entry");
    const Unchanged unchanged(tree);
    EXPECT_FALSE(DeleteEmptyTree(tree)) << kind.name;
  }
}

TEST_F(EmptyTree, FollowsALinkToADirectoryAndRemovesTheLink) {
  Make({"outside/file", "tree/link -> ../outside"});
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("outside/file"));
  Make({"outside/empty/"});
  EXPECT_TRUE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside"));
}

TEST_F(DeleteTest, OfATreeThatHasGrownTooDeepEndsWithItsMessage) {
  const std::string tree = Path("tree"), longer = Path(std::string(200, 't'));
  fs::create_directories(PathOfLength(tree, 4000));
  const auto before = Tree();
  Make({"tree/empty/"});
  // A longer name above them makes the paths of the deepest directories too long for the system.
  fs::rename(tree, longer);
  EXPECT_FALSE(DeleteEmptyTree(longer));
  for (const Failure& failure :
       {FailureOf([&] { Delete(longer); }), FailureOf([&] { Copy(longer, Path("to")); })}) {
    EXPECT_THAT(failure.text, testing::StartsWith("lstat - " + longer + "/ddd"));
    EXPECT_THAT(failure.text, testing::EndsWith(" - File name too long\n"));
  }
  fs::rename(longer, tree);
  EXPECT_EQ(Tree(), before);
}

// The path of "w" leads through its first entry in the system's order, an empty directory, and
// "..". Without that directory, the path of the other entries leads nowhere.
TEST_F(DeleteTest, OfADirectoryNamedThroughItsEntryEndsWhenThatIsGone) {
  for (const std::string ending : {"/file", "/", "", "/not deleted"}) {
    SCOPED_TRACE(ending);
    Make({"w/a" + ending, "w/b" + ending, "w/c" + ending, "w/d" + ending});
    const std::string first = Path("w/" + NamesInOrder(Path("w"))[0]), path = first + "/..";
    fs::remove_all(first);  // a new entry stays first or comes first
    fs::create_directory(first);
    const auto order = NamesInOrder(Path("w"));
    auto left = Tree();
    std::erase(left, "d 755 w/" + order[0]);
    if (ending == "/not deleted") {
      EXPECT_FALSE(DeleteEmptyTree(path));
    } else {
      EXPECT_EQ(FailureOf([&] { Delete(path); }),
                Exception("lstat - " + path + "/" + order[1], ENOENT));
    }
    EXPECT_EQ(Tree(), left);
    Clear();
  }
  Make({"w/a/"});
  EXPECT_EQ(FailureOf([this] { Delete(Path("w/a/..")); }),
            Exception("rmdir - " + Path("w/a/.."), ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 w"));
}

// Links that form circles: deleting ends soon, and keeps the directories on a circle.
using EmptyTreeWithCircles = InOwnDirectory;

TEST_F(EmptyTreeWithCircles, KeepsCirclesAndFilesAndLosesTheRest) {
  struct Row {
    std::string what;
    std::vector<std::string> stays, goes;
  };
  const std::vector<Row> rows = {
      {"to the top as itself", {"tree/link -> ."}, {"tree/b/empty/"}},
      {"to the top by its name", {"tree/link -> ../tree"}, {"tree/b/empty/"}},
      {"to the top by its path", {"tree/link -> " + Path("tree")}, {"tree/b/empty/"}},
      {"to the top from below", {"tree/a/link -> .."}, {"tree/b/empty/"}},
      {"to the directory of the link", {"tree/a/link -> ."}, {"tree/b/empty/"}},
      {"to the top from far below", {"tree/a/b/link -> ../.."}, {"tree/b/empty/"}},
      {"to the top by its name from below", {"tree/a/b/link -> ../../../tree"}, {"tree/b/empty/"}},
      {"above the top", {"tree/up -> .."}, {"tree/a/", "beside/empty/"}},
      {"through a directory outside",
       {"outside/back -> ../tree", "tree/a/link -> ../../outside"},
       {"outside/empty/"}},
      {"beside a dangling link", {"tree/up -> ../tree", "tree/a/entry -> nowhere"}, {}},
      {"beside a link to itself", {"tree/up -> ../tree", "tree/a/entry -> entry"}, {}},
      {"beside a file",
       {"tree/a/file", "tree/b/up -> ..", "tree/a/self -> .", "tree/c/one -> ../..",
        "tree/c/two -> .."},
       {"tree/a/empty/deep/", "tree/b/empty/"}},
      {"to a file beside the tree", {"beside/file", "tree/up -> .."}, {"tree/empty/"}},
      // The system lists one of the two links first, by name or by age.
      {"before a file", {"out/file", "tree/a/1 -> .", "tree/a/2 -> ../../out"}, {}},
      {"before an older file", {"out/file", "tree/a/2 -> ../../out", "tree/a/1 -> ."}, {}},
      {"behind a file", {"out/file", "tree/a/1 -> ../../out", "tree/a/2 -> ."}, {}},
      {"behind a younger file", {"out/file", "tree/a/2 -> .", "tree/a/1 -> ../../out"}, {}},
      {"before and behind links to one empty directory and one to a file",
       {"empty/", "beside/file", "tree/a/up -> ..", "tree/b/file -> ../../beside",
        "tree/c/up -> .."},
       {"tree/b/1 -> ../../empty", "tree/b/2 -> ../../empty", "tree/b/3 -> ../../empty",
        "tree/b/4 -> ../../empty", "tree/b/z -> ../../empty"}}};
  for (const Row& row : rows) {
    Make(row.stays);
    const auto left = Tree();
    Make(row.goes);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << row.what;
    EXPECT_EQ(Tree(), left) << row.what;
    Clear();
  }
}

// There are too many ways to try them all.
TEST_F(EmptyTreeWithCircles, TakesLittleTimeWhereEveryDirectoryLeadsToEveryOther) {
  constexpr int kDirectories = 25;
  for (int i = 0; i < kDirectories * kDirectories; ++i) {
    const std::string to = std::to_string(i % kDirectories);
    Link("tree/" + std::to_string(i / kDirectories) + "/to_" + to, "../" + to);
  }
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
}

// The system may count the links of a path twice, so there are fewer than half of the limit.
TEST_F(EmptyTreeWithCircles, TakesLittleTimeWhereFourLinksLeadOnAgainAndAgain) {
  for (int step = 0; step < 19; ++step) {
    for (const std::string name : {"one", "two", "three", "four"}) {
      Link("steps/" + std::to_string(step) + "/" + name, "../" + std::to_string(step + 1));
    }
  }
  Make({"steps/19/file"});
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("steps/19/file"));
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree("steps").size(), 19U);  // the directories without the first one
}

TEST_F(EmptyTreeWithCircles, KeepsAFileWhicheverListIsCutShort) {
  Make({"tree/up -> .", "tree/file", "tree/a/file"});
  const auto before = Tree();
  for (int calls = 0; calls < 20; ++calls) {
    const FailingCall failure(FailingCall::kReadDir, EIO, /*after=*/calls, /*times=*/1);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << calls;
  }
  EXPECT_EQ(Tree(), before);
}

/// The list ends behind an empty directory that is gone by then, and the walk does not see the
/// file. In one of the two trees the directory comes first, by name or by age.
TEST_F(EmptyTree, KeepsAFileBehindTheBreakOfAList) {
  for (const std::string file : {"tree/a", "tree/b"}) {
    for (int calls = 0; calls < 20; ++calls) {
      for (const std::string entry : {"tree/a", "tree/b"})
        Make({entry + (entry == file ? "" : "/")});
      const FailingCall failure(FailingCall::kReadDir, EIO, /*after=*/calls, /*times=*/1);
      EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << calls;
      EXPECT_EQ(ReadFile(Path(file)), "text") << calls;
      Clear();
    }
  }
}

}  // namespace
}  // namespace kvl::test
