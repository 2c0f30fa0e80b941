// Trees whose links would lead a plain walk round in circles, or into its own results.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Copy;
using KVLInsIO::CopyDir;
using KVLInsIO::Delete;
using KVLInsIO::DeleteContents;
using KVLInsIO::DeleteEmptyTree;
using testing::AnyOf;
using testing::Contains;

class HostileTree : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree(const std::string& name = ".") const {
    return DescribeTree(Path(name));
  }
  std::vector<std::string> ExactTree() const { return DescribeTreeExactly(directory_.Path()); }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

using CopyOfACircle = HostileTree;
using CopyOfLinksBehindLinks = HostileTree;
using CopyIntoItself = HostileTree;
using DeleteEmptyTreeOfLinksBehindLinks = HostileTree;
using DeleteOfACircle = HostileTree;

Failure ToItself(const std::string& source) {
  return Exception("Cannot copy " + source + " to itself.");
}

Failure FailureOfCopying(const std::string& source, const std::string& destination) {
  return FailureOf([&] { CopyDir(source, destination); });
}

TEST_F(CopyOfACircle, IsRefusedAtTheLinkThatLeadsBack) {
  directory_.Link("to_from", "from");
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"link", "."},           {"link", "../from"},
      {"link", Path("from")},  {"a/link", ".."},
      {"a/link", "."},         {"a/b/c/link", "../../.."},
      {"a/b/c/link", "../.."}, {"a/link", "../../to_from"},
  };
  for (const auto& [link, target] : rows) {
    SCOPED_TRACE(link + " -> " + target);
    directory_.Link("from/" + link, target);
    EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/" + link)));
    EXPECT_FALSE(fs::exists(Path("to/" + link))) << "something of it was copied";
    fs::remove_all(Path("from"));
    fs::remove_all(Path("to"));
  }
}

TEST_F(CopyOfACircle, OfLinksToEachOtherIsRefusedWhereItCloses) {
  directory_.Link("from/link", "../outside");
  directory_.Link("outside/back", "../from");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/link/back")));
  EXPECT_THAT(Tree("to"), ElementsAre());
}

TEST_F(CopyOfACircle, IsRefusedAtADirectoryProperBehindALink) {
  const TestDirectory elsewhere;
  directory_.Link("from/up", "..");
  EXPECT_EQ(FailureOfCopying(Path("from"), elsewhere.Path("to")), ToItself(Path("from/up/from")));
  EXPECT_THAT(DescribeTree(elsewhere.Path()), ElementsAre());
}

TEST_F(CopyOfACircle, OfASourceNamedThroughALinkIsRefusedToo) {
  directory_.Link("from/a/up", "..");
  const std::string link = directory_.Link("link", "from");
  EXPECT_EQ(FailureOf([&] { Copy(link, Path("to")); }), ToItself(link + "/a/up"));
  EXPECT_EQ(FailureOf([&] { Copy(link + "/a/..", Path("to")); }), ToItself(link + "/a/../a/up"));
}

TEST_F(CopyOfACircle, KeepsWhatWasCopiedBeforeTheRefusal) {
  directory_.Write("from/file", "text");
  directory_.Write("from/a/file", "text");
  directory_.Link("from/a/b/up", "../..");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/a/b/up")));
  EXPECT_THAT(Tree("to"),
              testing::IsSubsetOf({"d 755 a", "f 644 a/file = text", "f 644 file = text"}));
}

// Gone down one by one, both links would double the work on each of forty levels.
TEST_F(CopyOfACircle, EndsWithTwoLinksSideBySideAsWithOne) {
  directory_.Link("from/a/one", "..");
  directory_.Link("from/a/two", "..");
  EXPECT_THAT(FailureOfCopying(Path("from"), Path("to")),
              AnyOf(ToItself(Path("from/a/one")), ToItself(Path("from/a/two"))));
  EXPECT_THAT(Tree("to"), ElementsAre());
}

TEST_F(CopyOfACircle, LeavesTheSourceAsItIs) {
  directory_.Link("from/a/up", "..");
  const auto before = DescribeTreeExactly(Path("from"));
  EXPECT_NE(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_EQ(DescribeTreeExactly(Path("from")), before);
}

TEST_F(CopyOfACircle, IsNoneWhereLinksLeadAsideOrDown) {
  directory_.Write("from/a/b/file", "text");
  directory_.Link("from/down", "a/b");
  directory_.Link("from/aside/one", "../a/b");
  directory_.Link("from/aside/two", "../a/b");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a", "d 755 a/b", "d 755 aside", "d 755 aside/one",
                                      "d 755 aside/two", "d 755 down", "f 644 a/b/file = text",
                                      "f 644 aside/one/file = text", "f 644 aside/two/file = text",
                                      "f 644 down/file = text"));
}

/// Directories that each have a link "next" to the next one, of which the last one holds a file.
void LinkOneBehindTheOther(const TestDirectory& directory, int count) {
  for (int step = 0; step < count; ++step) {
    directory.Link("steps/" + std::to_string(step) + "/next", "../" + std::to_string(step + 1));
  }
  directory.Write("steps/" + std::to_string(count) + "/file", "text");
}

/// The path of the first link "next" from here that the system does not follow any more.
std::string FirstOfTooManyLinks(std::string directory) {
  std::error_code ignored;
  do directory += "/next";
  while (fs::exists(directory, ignored));
  return directory;
}

TEST_F(CopyOfLinksBehindLinks, EndsAtTheFirstThatTheSystemDoesNotFollow) {
  LinkOneBehindTheOther(directory_, 60);
  const std::string link = FirstOfTooManyLinks(Path("steps/0"));
  EXPECT_EQ(FailureOfCopying(Path("steps/0"), Path("to")),
            ExceptionErrno("Cannot stat " + link, ELOOP));
  const std::string made =
      "to" + fs::path(link).parent_path().string().substr(Path("steps/0").size());
  EXPECT_TRUE(fs::is_empty(Path(made)));
}

TEST_F(CopyOfLinksBehindLinks, BringsTheFileWhereTheSystemFollowsThem) {
  LinkOneBehindTheOther(directory_, 20);
  CopyDir(Path("steps/0"), Path("to"));
  EXPECT_EQ(Tree("to").size(), 21U);
  EXPECT_THAT(Tree("to").back(), testing::EndsWith("/next/file = text"));
}

/// A directory "from" with "file", "sub" and "sub/file", and ways that lead into it.
class CopyIntoItselfByAnyWay : public HostileTree {
 protected:
  CopyIntoItselfByAnyWay() {
    directory_.Write("from/file", "text");
    directory_.Write("from/sub/file", "text");
    directory_.Link("to_from", "from");
    directory_.Link("to_sub", "from/sub");
    directory_.Link("back\\slash", "from/sub");
    directory_.MakeDir("beside");
  }
};

TEST_F(CopyIntoItselfByAnyWay, IsRefusedBeforeAnythingIsDone) {
  const auto before = ExactTree();
  for (const std::string name : {"from/to",
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
                                 "back\\slash"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(FailureOfCopying(Path("from"), Path(name)), ToItself(Path("from")));
    EXPECT_EQ(ExactTree(), before);
  }
}

TEST_F(CopyIntoItselfByAnyWay, IsRefusedHoweverTheSourceIsNamed) {
  const auto before = ExactTree();
  for (const std::string name : {"from/", "from//.", "from/sub/..", "to_from", "to_sub/.."}) {
    EXPECT_EQ(FailureOf([&] { Copy(Path(name), Path("from/to")); }), ToItself(Path(name)));
  }
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(CopyIntoItselfByAnyWay, IsRefusedWithRelativePaths) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"from", "from/to"},
      {"from", "./from/new/to"},
      {"./from", Path("from/to")},
      {".", "to"},
      {".", "from"},
      {".", "./to"},
      {"from", "to_sub"},
      {"from/..", "to"},
      {Path("from"), "from/to"},
      {"..", "to"},
      {"from", "missing/../from/to"},
  };
  const auto before = ExactTree();
  for (const auto& [source, destination] : rows) {
    SCOPED_TRACE(source + " to " + destination);
    EXPECT_EQ(IsolatedFailureOf([&, &from = source, &to = destination] {
                Enter(directory_);
                CopyDir(from, to);
              }),
              ToItself(source));
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

TEST_F(CopyIntoItself, IsRefusedWhereTheWorkingDirectoryHasNoPath) {
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterWhereThereIsNoPath(directory_);
              fs::create_directories("from/empty");
              CopyDir("from", "from/to");
            }),
            ToItself("from"));
}

TEST_F(CopyIntoItself, IsNotMistakenForADestinationInAWorkingDirectoryThatHasNoPath) {
  const std::string from = Path("from");
  directory_.Write("from/file", "text");
  EXPECT_EQ(IsolatedFailureOf([&] {
              EnterWhereThereIsNoPath(directory_);
              CopyDir(from, from.substr(1) + "/to");
              if (ReadFile(from.substr(1) + "/to/file") != "text") throw std::runtime_error("none");
            }),
            kNoFailure);
}

TEST_F(CopyIntoItself, IsRefusedForAnEmptyDirectoryToo) {
  directory_.MakeDir("empty");
  EXPECT_EQ(FailureOfCopying(Path("empty"), Path("empty/to")), ToItself(Path("empty")));
  EXPECT_THAT(Tree(), ElementsAre("d 755 empty"));
}

TEST_F(CopyIntoItself, IsNoneForASourceThatIsNoDirectory) {
  const std::string file = directory_.Write("file", "text");
  EXPECT_EQ(FailureOfCopying(file, file + "/to"), Exception("mkdir - " + file + "/to", ENOTDIR));
  EXPECT_EQ(FailureOfCopying(Path("missing"), Path("missing/to")), kNoFailure);
}

// The same place is not inside: each of its files refuses to be copied onto itself.
TEST_F(CopyIntoItself, OfADirectoryOntoItselfIsRefusedByItsFiles) {
  directory_.MakeDir("from/empty");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), kNoFailure);
  directory_.Write("from/sub/file", "text");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), ToItself(Path("from/sub/file")));
  EXPECT_THAT(Tree("from"), ElementsAre("d 755 empty", "d 755 sub", "f 644 sub/file = text"));
}

TEST_F(CopyIntoItself, IsRefusedAtALinkToADirectoryThatHoldsTheDestination) {
  directory_.Write("big/file", "text");
  directory_.Link("from/a/link", "../../big");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("big/deep/to")), ToItself(Path("from/a/link")));
  EXPECT_THAT(Tree("big"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyIntoItself, IsRefusedWhereALinkInTheDestinationLeadsIntoTheSource) {
  directory_.Write("from/sub/inner/file", "text");
  directory_.Link("to/sub", "../from/sub/inner");
  const auto before = Tree("from");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), ToItself(Path("from/sub")));
  EXPECT_EQ(Tree("from"), before);
}

TEST_F(CopyIntoItself, IsNotMistakenForNamesWithBackslashes) {
  // "to/a\b" is no way through the link "to/a".
  directory_.Write("other/file", "text");
  directory_.Link("from/a\\b", "../other");
  directory_.Link("to/a", "../other");
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a\\b", "f 644 a\\b/file = text", "l a -> ../other"));
  EXPECT_THAT(Tree("other"), ElementsAre("f 644 file = text"));
}

TEST_F(DeleteEmptyTreeOfLinksBehindLinks, TakesALinkThatTheSystemDoesNotFollowAnyMoreForAFile) {
  LinkOneBehindTheOther(directory_, 60);
  fs::remove(Path("steps/60/file"));
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/30")));
  EXPECT_EQ(Tree("steps").size(), 30U + 60U);  // 30 links, and the directories, but the one
}

TEST_F(DeleteOfACircle, RemovesTheLinksAndNothingBehindThem) {
  directory_.Write("above/file", "text");
  for (const std::string name : {"tree/a/one", "tree/a/two", "tree/self"}) {
    directory_.Link("above/" + name, "../..");
  }
  Delete(Path("above/tree"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 above", "f 644 above/file = text"));
}

TEST_F(DeleteOfACircle, EmptiesADirectoryThatIsFullOfLinksToItself) {
  directory_.Write("file", "text");
  const std::vector<std::string> targets = {".", "..", "../tree", "../file", "one", "nowhere"};
  for (const std::string& target : targets) {
    directory_.Link("tree/" + std::to_string(&target - targets.data()), target);
  }
  DeleteContents(Path("tree"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 tree", "f 644 file = text"));
}

}  // namespace
}  // namespace kvl::test
