// Trees of directories only, but for links that lead round in circles: deleting them ends soon, and
// what is on a circle stays.

#include "insio/delete.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::DeleteEmptyTree;

class DeleteEmptyTreeWithCircles : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree(const std::string& name = ".") const {
    return DescribeTree(Path(name));
  }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

TEST_F(DeleteEmptyTreeWithCircles, LeavesTheCircleAndReturnsFalse) {
  const std::vector<std::pair<std::string, std::string>> links = {
      {"tree/link", "."},
      {"tree/link", "../tree"},
      {"tree/link", Path("tree")},
      {"tree/a/link", ".."},
      {"tree/a/link", "."},
      {"tree/a/b/link", "../.."},
      {"tree/a/b/link", "../../../tree"},
  };
  for (const auto& [link, target] : links) {
    SCOPED_TRACE(link + " -> " + target);
    directory_.MakeDir("tree/b/empty");
    directory_.Link(link, target);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
    std::vector<std::string> left = {"l " + link + " -> " + target};
    for (fs::path above = fs::path(link).parent_path(); !above.empty();
         above = above.parent_path()) {
      left.push_back("d 755 " + above.string());
    }
    EXPECT_THAT(Tree(), testing::UnorderedElementsAreArray(left));
    fs::remove_all(Path("tree"));
  }
}

TEST_F(DeleteEmptyTreeWithCircles, LeavesAFileAndTheLinksThatLeadToItAndReturnsFalse) {
  directory_.Write("tree/a/file", "text");
  directory_.MakeDir("tree/a/empty/deep");
  directory_.MakeDir("tree/b/empty");
  directory_.Link("tree/b/up", "..");
  directory_.Link("tree/a/self", ".");
  directory_.Link("tree/c/one", "../..");
  directory_.Link("tree/c/two", "..");
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 tree", "d 755 tree/a", "d 755 tree/b", "d 755 tree/c",
                          "f 644 tree/a/file = text", "l tree/a/self -> .", "l tree/b/up -> ..",
                          "l tree/c/one -> ../..", "l tree/c/two -> .."));
}

TEST_F(DeleteEmptyTreeWithCircles, EmptiesWhatLiesBesideTheTreeThroughALinkThatLeadsAboveIt) {
  directory_.MakeDir("above/tree/a");
  directory_.MakeDir("above/beside/empty");
  directory_.Link("above/tree/up", "..");
  EXPECT_FALSE(DeleteEmptyTree(Path("above/tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 above", "d 755 above/tree", "l above/tree/up -> .."));
}

TEST_F(DeleteEmptyTreeWithCircles, SeesAFileBesideTheTreeThroughALinkThatLeadsAboveIt) {
  directory_.Write("above/beside/file", "text");
  directory_.MakeDir("above/tree/empty");
  directory_.Link("above/tree/up", "..");
  EXPECT_FALSE(DeleteEmptyTree(Path("above/tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 above", "d 755 above/beside", "d 755 above/tree",
                                  "f 644 above/beside/file = text", "l above/tree/up -> .."));
}

TEST_F(DeleteEmptyTreeWithCircles, ComesBackThroughADirectoryOutside) {
  directory_.MakeDir("outside/empty");
  directory_.Link("outside/back", "../tree");
  directory_.Link("tree/a/link", "../../outside");
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "d 755 tree", "d 755 tree/a",
                                  "l outside/back -> ../tree", "l tree/a/link -> ../../outside"));
}

// Whichever of the two links the system lists first.
TEST_F(DeleteEmptyTreeWithCircles, SeesAFileBehindALinkBesideTheOneThatLeadsBack) {
  directory_.Write("outside/file", "text");
  using Links = std::vector<std::pair<std::string, std::string>>;
  for (const Links& links : {Links{{"tree/a/1", "."}, {"tree/a/2", "../../outside"}},
                             Links{{"tree/a/2", "../../outside"}, {"tree/a/1", "."}},
                             Links{{"tree/a/2", "."}, {"tree/a/1", "../../outside"}},
                             Links{{"tree/a/1", "../../outside"}, {"tree/a/2", "."}}}) {
    for (const auto& [link, target] : links) directory_.Link(link, target);
    const auto before = Tree();
    EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
    EXPECT_EQ(Tree(), before);
    fs::remove_all(Path("tree"));
  }
}

TEST_F(DeleteEmptyTreeWithCircles, StopsAtADanglingLinkAndALinkToItself) {
  for (const std::string target : {"nowhere", "entry"}) {
    directory_.Link("tree/up", "../tree");
    directory_.Link("tree/a/entry", target);
    const auto before = Tree();
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << target;
    EXPECT_EQ(Tree(), before);
    fs::remove_all(Path("tree"));
  }
}

TEST_F(DeleteEmptyTreeWithCircles, EndsWithAThousandLinksSideBySide) {
  for (int i = 0; i < 1000; ++i) directory_.Link("tree/a/" + std::to_string(i), "..");
  const auto before = Tree();
  directory_.Write("tree/file", "text");
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  fs::remove(Path("tree/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
}

/// Directories that each have a link to every other: so many ways that nobody can go them all.
void LinkEachToEach(const TestDirectory& directory, int count) {
  for (int from = 0; from < count; ++from) {
    for (int to = 0; to < count; ++to) {
      directory.Link("tree/" + std::to_string(from) + "/to_" + std::to_string(to),
                     "../" + std::to_string(to));
    }
  }
}

TEST_F(DeleteEmptyTreeWithCircles, EndsWhereEveryDirectoryLeadsToEveryOther) {
  LinkEachToEach(directory_, 25);
  directory_.Write("tree/24/file", "text");
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("tree/24/file"));
  const auto without_file = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_EQ(Tree(), without_file);
}

TEST_F(DeleteEmptyTreeWithCircles, EndsWhereTwoLinksLeadToTheNextDirectoryAgainAndAgain) {
  for (int step = 0; step < 35; ++step) {
    const std::string next = "../" + std::to_string(step + 1);
    directory_.Link("steps/" + std::to_string(step) + "/one", next);
    directory_.Link("steps/" + std::to_string(step) + "/two", next);
  }
  directory_.Write("steps/35/file", "text");
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  fs::remove(Path("steps/35/file"));
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree("steps").size(), 35U);  // the directories themselves, but the first
}

TEST_F(DeleteEmptyTreeWithCircles, SeesAFileThoughOtherLinksLeadToOneEmptyDirectory) {
  directory_.MakeDir("empty");
  directory_.Write("beside/file", "text");
  directory_.Link("tree/a/up", "..");  // before and after the others, as the order of a listing
  for (const std::string name : {"1", "2", "3", "4", "file", "5", "6", "7", "8"}) {
    directory_.Link("tree/b/" + name, name == "file" ? "../../beside" : "../../empty");
  }
  directory_.Link("tree/c/up", "..");  // may be any
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("beside"), ElementsAre("f 644 file = text"));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 b", "d 755 c", "l a/up -> ..",
                                        "l b/file -> ../../beside", "l c/up -> .."));
}

TEST_F(DeleteEmptyTreeWithCircles, KeepsALinkThatLeadsToAFileWhicheverListingIsCutShort) {
  directory_.Link("tree/up", ".");
  directory_.Write("tree/file", "text");
  for (int calls = 0; calls < 12; ++calls) {
    const FailingCall failure(FailingCall::kReadDir, EIO, /*after=*/calls, /*times=*/1);
    EXPECT_FALSE(DeleteEmptyTree(Path("tree"))) << calls;
    EXPECT_TRUE(fs::is_symlink(Path("tree/up"))) << calls;
  }
  EXPECT_THAT(Tree("tree"), ElementsAre("f 644 file = text", "l up -> ."));
}

TEST_F(DeleteEmptyTreeWithCircles, LeavesWhatCannotBeRemoved) {
  directory_.Link("closed/up", "../..");
  directory_.MakeDir("closed/empty");
  SetMode(Path("closed"), 0555);
  const auto before = Tree();
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              if (DeleteEmptyTree("closed")) throw std::runtime_error("removed");
            }),
            kNoFailure);
  EXPECT_EQ(Tree(), before);
}

}  // namespace
}  // namespace kvl::test
