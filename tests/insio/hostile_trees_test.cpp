// Trees whose links would lead a plain walk round in circles, or into its own results.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/insio/tree_test.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using CopyOfACircle = TreeTest;
using CopyIntoItself = TreeTest;
using DeleteOfACircle = TreeTest;

Failure ToItself(const std::string& source) {
  return Exception("Cannot copy " + source + " to itself.");
}

Failure FailureOfCopying(const std::string& source, const std::string& destination) {
  return FailureOf([&] { Copy(source, destination); });
}

TEST_F(CopyOfACircle, IsRefusedWhereItClosesBeforeAnythingElseIsCopied) {
  struct Row {
    std::vector<std::string> entries;
    std::string source, closes_at;
  };
  const std::vector<Row> rows = {
      {{"from/link -> ."}, "from", "from/link"},
      {{"from/link -> ../from"}, "from", "from/link"},
      {{"from/link -> " + Path("from")}, "from", "from/link"},
      {{"from/a/link -> .."}, "from", "from/a/link"},
      {{"from/a/link -> ."}, "from", "from/a/link"},
      {{"from/a/b/c/link -> ../../.."}, "from", "from/a/b/c/link"},
      {{"from/a/b/c/link -> ../.."}, "from", "from/a/b/c/link"},
      {{"from/a/link -> ../../to_from", "to_from -> from"}, "from", "from/a/link"},
      {{"from/link -> ../outside", "outside/back -> ../from"}, "from", "from/link/back"},
      {{"from/up -> .."}, "from", "from/up/from"},
      {{"from/a/up -> ..", "link -> from"}, "link", "link/a/up"},
      {{"from/a/up -> ..", "link -> from"}, "link/a/..", "link/a/../a/up"}};
  const TestDirectory elsewhere;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.entries[0]);
    Make(row.entries);
    const auto before = ExactTree();
    EXPECT_EQ(FailureOfCopying(Path(row.source), elsewhere.Path("to")),
              ToItself(Path(row.closes_at)));
    EXPECT_THAT(DescribeTree(elsewhere.Path()), IsEmpty());
    EXPECT_EQ(ExactTree(), before);
    Clear();
  }
}

TEST_F(CopyOfACircle, KeepsWhatWasCopiedBeforeTheRefusal) {
  Make({"from/file", "from/a/file", "from/a/b/up -> ../.."});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/a/b/up")));
  EXPECT_THAT(Tree("to"),
              testing::IsSubsetOf({"d 755 a", "f 644 a/file = text", "f 644 file = text"}));
}

// Gone down one by one, both links would double the work on each of forty levels.
TEST_F(CopyOfACircle, EndsWithTwoLinksSideBySideAsWithOne) {
  Make({"from/a/one -> ..", "from/a/two -> .."});
  EXPECT_THAT(FailureOfCopying(Path("from"), Path("to")),
              testing::AnyOf(ToItself(Path("from/a/one")), ToItself(Path("from/a/two"))));
  EXPECT_THAT(Tree("to"), IsEmpty());
}

TEST_F(CopyOfACircle, IsNoneWhereLinksLeadAsideOrDown) {
  Make({"from/a/b/file", "from/down -> a/b", "from/aside/one -> ../a/b",
        "from/aside/two -> ../a/b"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a", "d 755 a/b", "d 755 aside", "d 755 aside/one",
                                      "d 755 aside/two", "d 755 down", "f 644 a/b/file = text",
                                      "f 644 aside/one/file = text", "f 644 aside/two/file = text",
                                      "f 644 down/file = text"));
}

/// Directories that each have a link "next" to the next one, of which the last one holds a file.
class LinksBehindLinks : public TreeTest {
 protected:
  void MakeSteps(int count) const {
    for (int step = 0; step < count; ++step) {
      Make({"steps/" + std::to_string(step) + "/next -> ../" + std::to_string(step + 1)});
    }
    Make({"steps/" + std::to_string(count) + "/file"});
  }
};

TEST_F(LinksBehindLinks, AreCopiedUpToTheFirstThatTheSystemDoesNotFollow) {
  MakeSteps(60);
  std::string below;
  std::error_code ignored;
  while (fs::exists(Path("steps/0" + below + "/next"), ignored)) below += "/next";
  EXPECT_EQ(FailureOfCopying(Path("steps/0"), Path("to")),
            ExceptionErrno("Cannot stat " + Path("steps/0" + below + "/next"), ELOOP));
  EXPECT_TRUE(fs::is_empty(Path("to" + below)));
}

TEST_F(LinksBehindLinks, AreCopiedWithTheFileWhereTheSystemFollowsThem) {
  MakeSteps(20);
  Copy(Path("steps/0"), Path("to"));
  EXPECT_EQ(Tree("to").size(), 21U);
  EXPECT_THAT(Tree("to").back(), testing::EndsWith("/next/file = text"));
}

TEST_F(LinksBehindLinks, KeepAnEmptyTreeWhereTheSystemDoesNotFollowThem) {
  MakeSteps(60);
  fs::remove(Path("steps/60/file"));
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/30")));
  EXPECT_EQ(Tree("steps").size(), 30U + 60U);  // 30 links, and the directories, but the one
}

/// A directory "from" with "file", "sub" and "sub/file", and ways that lead into it.
class CopyIntoItselfByAnyWay : public TreeTest {
 protected:
  CopyIntoItselfByAnyWay() {
    Make({"from/file", "from/sub/file", "to_from -> from", "to_sub -> from/sub",
          "back\\slash -> from/sub", "beside/"});
  }

  std::string Absolute(const std::string& path) const { return path[0] == '/' ? path : Path(path); }
};

TEST_F(CopyIntoItselfByAnyWay, IsRefusedBeforeAnythingIsDone) {
  std::vector<std::pair<std::string, std::string>> rows = {{"from/", "from/to"},
                                                           {"from//.", "from/to"},
                                                           {"from/sub/..", "from/to"},
                                                           {"to_from", "from/to"},
                                                           {"to_sub/..", "from/to"},
                                                           {"./from", Path("from/to")},
                                                           {".", "to"},
                                                           {".", "from"},
                                                           {".", "./to"},
                                                           {"from/..", "to"},
                                                           {Path("from"), "from/to"},
                                                           {"..", "to"}};
  for (const std::string destination : {"from/to",
                                        "from/sub",
                                        "from/sub/",
                                        "from/file",
                                        "from/new/deep/to",
                                        "from//new/.",
                                        "from/sub/../to",
                                        "from/../from/to",
                                        "beside/../from/to",
                                        "missing/../from/to",
                                        "missing/deep/../../from/sub/to",
                                        "from/missing/../to",
                                        "to_from/to",
                                        "to_sub",
                                        "to_sub/",
                                        "to_sub/to",
                                        "to_from/new/to",
                                        "to_sub/../to",
                                        "from\\to",
                                        "back\\slash",
                                        "./from/new/to"}) {
    rows.emplace_back("from", destination);
  }
  const auto before = ExactTree();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first + " to " + row.second);
    EXPECT_EQ(FailureOfCopying(Absolute(row.first), Absolute(row.second)),
              ToItself(Absolute(row.first)));
    const auto copy_by_relative_paths = [&] {
      Enter(directory_);
      Copy(row.first, row.second);
    };
    EXPECT_EQ(IsolatedFailureOf(copy_by_relative_paths), ToItself(row.first));
    EXPECT_EQ(ExactTree(), before);
  }
}

TEST_F(CopyIntoItselfByAnyWay, IsNoneBesideOrAboveTheSource) {
  for (const std::string name : {"from2", "fro", "beside/from", "from/../to", "from/sub/../../to",
                                 "beside", "missing/from"}) {
    EXPECT_EQ(FailureOfCopying(Path("from"), Path(name)), kNoFailure) << name;
    EXPECT_EQ(ReadFile(Path(name + "/sub/file")), "text") << name;
  }
  EXPECT_EQ(FailureOfCopying(Path("from/sub"), directory_.Path()), kNoFailure);
  EXPECT_EQ(ReadFile(Path("file")), "text");
}

/// Goes so deep down that the system has no path for the working directory.
void EnterWhereThereIsNoPath(const TestDirectory& directory) {
  Enter(directory);
  const std::string name(200, 'n');
  for (int level = 0; level < 25; ++level) {
    fs::create_directory(name);
    fs::current_path(name);
  }
}

TEST_F(CopyIntoItself, IsToldFromOthersWhereTheWorkingDirectoryHasNoPath) {
  const std::string from = directory_.MakeDir("from");
  Make({"from/file"});
  const auto copy_from_elsewhere = [&] {
    EnterWhereThereIsNoPath(directory_);
    Copy(from, from.substr(1) + "/to");
    if (ReadFile(from.substr(1) + "/to/file") != "text") throw std::runtime_error("none");
  };
  EXPECT_EQ(IsolatedFailureOf(copy_from_elsewhere), kNoFailure);
  const auto copy_into_itself = [this] {
    EnterWhereThereIsNoPath(directory_);
    fs::create_directories("from/empty");
    Copy("from", "from/to");
  };
  EXPECT_EQ(IsolatedFailureOf(copy_into_itself), ToItself("from"));
}

TEST_F(CopyIntoItself, IsRefusedForAnEmptyDirectoryAndIsNoneWithoutADirectory) {
  Make({"empty/", "file"});
  const std::string file = Path("file");
  EXPECT_EQ(FailureOfCopying(Path("empty"), Path("empty/to")), ToItself(Path("empty")));
  EXPECT_EQ(FailureOf([&] { CopyDir(file, file + "/to"); }),
            Exception("mkdir - " + file + "/to", ENOTDIR));
  EXPECT_THAT(Tree(), ElementsAre("d 755 empty", "f 644 file = text"));
  EXPECT_EQ(FailureOf([&] { CopyDir(Path("missing"), Path("missing/to")); }), kNoFailure);
}

// The same place is not inside: each of its files refuses to be copied onto itself.
TEST_F(CopyIntoItself, OfADirectoryOntoItselfIsRefusedByItsFiles) {
  Make({"from/empty/"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), kNoFailure);
  Make({"from/sub/file"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), ToItself(Path("from/sub/file")));
  EXPECT_THAT(Tree("from"), ElementsAre("d 755 empty", "d 755 sub", "f 644 sub/file = text"));
}

TEST_F(CopyIntoItself, IsRefusedAtALinkToADirectoryThatHoldsTheDestination) {
  Make({"big/file", "from/a/link -> ../../big"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("big/deep/to")), ToItself(Path("from/a/link")));
  EXPECT_THAT(Tree("big"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyIntoItself, IsRefusedWhereALinkInTheDestinationLeadsIntoTheSource) {
  Make({"from/sub/inner/file", "to/sub -> ../from/sub/inner"});
  const auto before = Tree();
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/sub")));
  EXPECT_EQ(Tree(), before);
}

// "to/a\b" is no way through the link "to/a".
TEST_F(CopyIntoItself, IsNotMistakenForNamesWithBackslashes) {
  Make({"other/file", "from/a\\b -> ../other", "to/a -> ../other"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a\\b", "f 644 a\\b/file = text", "l a -> ../other"));
  EXPECT_THAT(Tree("other"), ElementsAre("f 644 file = text"));
}

TEST_F(DeleteOfACircle, RemovesTheLinksAndNothingBehindThem) {
  Make({"file", "tree/a/one -> ../..", "tree/a/two -> ..", "tree/self -> .", "tree/up -> ..",
        "tree/by_name -> ../tree", "tree/to_file -> ../file", "tree/round -> round",
        "tree/dangling -> nowhere"});
  DeleteContents(Path("tree"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 tree", "f 644 file = text"));
}

}  // namespace
}  // namespace kvl::test
