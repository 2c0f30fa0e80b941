// Trees of directories only, but for links that lead round in circles: deleting them ends soon, and
// what is on a circle stays.

#include "insio/delete.h"
#include "tests/insio/failure.h"
#include "tests/insio/tree_test.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::DeleteEmptyTree;

using DeleteEmptyTreeWithCircles = TreeTest;

TEST_F(DeleteEmptyTreeWithCircles, LeavesCirclesAndFilesAndRemovesTheRest) {
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
      // Whichever of the two links the system lists first, by name or by age.
      {"before a file", {"out/file", "tree/a/1 -> .", "tree/a/2 -> ../../out"}, {}},
      {"before an older file", {"out/file", "tree/a/2 -> ../../out", "tree/a/1 -> ."}, {}},
      {"behind a file", {"out/file", "tree/a/1 -> ../../out", "tree/a/2 -> ."}, {}},
      {"behind a younger file", {"out/file", "tree/a/2 -> .", "tree/a/1 -> ../../out"}, {}}};
  for (const Row& row : rows) {
    Make(row.stays);
    const auto left = Tree();
    Make(row.goes);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << row.what;
    EXPECT_EQ(Tree(), left) << row.what;
    Clear();
  }
}

TEST_F(DeleteEmptyTreeWithCircles, EndsWithAThousandLinksSideBySide) {
  for (int i = 0; i < 1000; ++i) directory_.Link("tree/a/" + std::to_string(i), "..");
  const auto before = Tree();
  Make({"tree/file"});
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  fs::remove(Path("tree/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
}

// There are so many ways that nobody can go them all.
TEST_F(DeleteEmptyTreeWithCircles, EndsWhereEveryDirectoryLeadsToEveryOther) {
  constexpr int kDirectories = 25;
  for (int i = 0; i < kDirectories * kDirectories; ++i) {
    const std::string to = std::to_string(i % kDirectories);
    directory_.Link("tree/" + std::to_string(i / kDirectories) + "/to_" + to, "../" + to);
  }
  const auto without_file = Tree();
  Make({"tree/24/file"});
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("tree/24/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), without_file);
}

TEST_F(DeleteEmptyTreeWithCircles, EndsWhereTwoLinksLeadToTheNextAgainAndAgain) {
  for (int step = 0; step < 35; ++step) {
    const std::string directory = "steps/" + std::to_string(step), next = std::to_string(step + 1);
    Make({directory + "/one -> ../" + next, directory + "/two -> ../" + next});
  }
  Make({"steps/35/file"});
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("steps/35/file"));
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree("steps").size(), 35U);  // the directories themselves, but the first
}

TEST_F(DeleteEmptyTreeWithCircles, SeesAFileThoughOtherLinksLeadToOneEmptyDirectory) {
  Make({"empty/", "beside/file"});
  Make({"tree/a/up -> .."});  // before and after the others, as the order of a listing
  for (const std::string name : {"1", "2", "3", "4", "file", "5", "6", "7", "8"}) {
    directory_.Link("tree/b/" + name, name == "file" ? "../../beside" : "../../empty");
  }
  Make({"tree/c/up -> .."});  // may be any
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("beside"), ElementsAre("f 644 file = text"));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 b", "d 755 c", "l a/up -> ..",
                                        "l b/file -> ../../beside", "l c/up -> .."));
}

TEST_F(DeleteEmptyTreeWithCircles, KeepsALinkThatLeadsToAFileWhicheverListIsCutShort) {
  Make({"tree/up -> .", "tree/file"});
  for (int calls = 0; calls < 12; ++calls) {
    const FailingCall failure(FailingCall::kReadDir, EIO, /*after=*/calls, /*times=*/1);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << calls;
    EXPECT_TRUE(fs::is_symlink(Path("tree/up"))) << calls;
  }
  EXPECT_THAT(Tree("tree"), ElementsAre("f 644 file = text", "l up -> ."));
}

TEST_F(DeleteEmptyTreeWithCircles, LeavesWhatCannotBeRemoved) {
  Make({"closed/up -> ..", "closed/empty/"});
  SetMode(Path("closed"), 0555);
  const auto before = Tree();
  const auto action = [] {
    if (DeleteEmptyTree("closed")) throw std::runtime_error("gone");
  };
  EXPECT_EQ(OrdinaryUsersFailureOf(directory_, action), kNoFailure);
  EXPECT_EQ(Tree(), before);
}

}  // namespace
}  // namespace kvl::test
