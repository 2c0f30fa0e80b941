// Odd trees: with names and entries of every kind, and with links that would lead a plain walk in
// circles or into its own results.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/in_own_directory.h"
#include "tests/insio/odd_paths.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using OddNames = InOwnDirectory;
using OddEntries = InOwnDirectory;
using CopyOfACircle = InOwnDirectory;
using CopyIntoItself = InOwnDirectory;

TEST_F(OddNames, OfFilesAndDirectoriesAreCopiedAndDeleted) {
  for (const std::string& name : kOddNames) {
    Write("from/directories/" + name + "/" + name, name);
    Write("from/files/" + name, name);
    MakeDir("from/empty/" + name + "/" + name);
  }
  SetMode(Write("from/zeros", std::string(200'000, '\0')), 0755);
  const auto before = DescribeTreeExactly(Path("from"));
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(DescribeTreeExactly(Path("from")), before);
  EXPECT_EQ(before.size(), 4 + 5 * kOddNames.size());
  EXPECT_TRUE(DeleteEmptyTree(Path("to/empty")));
  DeleteContents(Path("to/files"));
  EXPECT_THAT(Tree("to/files"), IsEmpty());
  Delete(Path("to"));
  Delete(Path("from"));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(OddNames, OfTheTreesThemselvesAreTakenAsTheyAre) {
  for (const std::string& name : kOddNames) {
    SCOPED_TRACE(name);
    Write(name + "/file", "text");
    Copy(Path(name), Path("to"));
    EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = text"));
    Delete(Path(name));
    Delete(Path("to"));
    EXPECT_THAT(Tree(), IsEmpty());
  }
}

/// A tree in which the directory "a\b" lies beside the directory "a", which contains "b".
class BackslashBesideItsDecoy : public InOwnDirectory {
 protected:
  BackslashBesideItsDecoy() {
    Write("tree/a/b/file", "decoy");
    Make({"tree/e/f/empty/"});
    decoys_ = Tree("tree");
    Make({"tree/a\\b/file", "tree/e\\f/empty/"});
  }

  std::vector<std::string> decoys_;
};

TEST_F(BackslashBesideItsDecoy, IsCopiedAsItIsWithItsTreeAndByItself) {
  Copy(Path("tree"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("tree"));
  CopyDir(Path("tree/a\\b"), Path("alone"));
  EXPECT_THAT(Tree("alone"), ElementsAre("f 644 file = text"));
}

TEST_F(BackslashBesideItsDecoy, IsEmptiedOrDeletedAndTheDecoyStays) {
  DeleteContents(Path("tree/a\\b"));
  EXPECT_TRUE(fs::is_empty(Path("tree/a\\b")));
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/e\\f"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(BackslashBesideItsDecoy, IsDistinctFromItAsAndWithinAnEmptyTree) {
  EXPECT_FALSE(DeleteEmptyTree(Path("tree/a\\b")));
  EXPECT_EQ(ReadFile(Path("tree/a\\b/file")), "text");
  EXPECT_TRUE(DeleteEmptyTree(Path("tree/e\\f")));
  fs::remove(Path("tree/a\\b/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/file = decoy"));
}

TEST_F(OddNames, WithBackslashesAreDeletedBehindALinkAsALink) {
  Make({"tree/a/b/decoy", "outside/file", "tree/a\\b -> ../outside",
        "tree/a\\b\\decoy -> ../outside/file"});
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/a\\b\\decoy"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "d 755 tree", "d 755 tree/a", "d 755 tree/a/b",
                                  "f 644 outside/file = text", "f 644 tree/a/b/decoy = text"));
}

TEST_F(OddEntries, HardLinksArriveAsFilesAndNotOnThemselves) {
  const std::string file = Write("from/file", "text");
  HardLink("from/a/link", file);
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(StatusOf(Path("to/file")).st_nlink, 1U);
  EXPECT_EQ(StatusOf(Path("to/a/link")).st_nlink, 1U);
  HardLink("there/file", file);
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("there")); }),
            Exception("Cannot copy " + Path("from/file") + " to itself."));
  EXPECT_EQ(ReadFile(file), "text");
}

TEST_F(OddEntries, PipesDevicesAndSocketsAreNotCopied) {
  Pipe("pipe/entry");
  Make({"to_pipe/entry -> ../pipe/entry", "to_null/entry -> /dev/null",
        "to_zero/entry -> /dev/zero", "socket/"});
  MakeSocket(*this, "socket/entry");
  for (const std::string tree : {"pipe", "to_pipe", "to_null", "to_zero", "socket"}) {
    SCOPED_TRACE(tree);
    const std::string entry = Path(tree + "/entry");
    const Failure expected =
        Exception("Cannot read " + entry, tree == "socket" ? ENXIO : EOPNOTSUPP);
    EXPECT_EQ(FailureOf([&] { Copy(Path(tree), Path("to")); }), expected);
    EXPECT_EQ(FailureOf([&] { CopyFile(entry, Path("to/copy")); }), expected);
    EXPECT_EQ(FailureOf([&] { Copy(entry, Path("to/copy")); }), expected);
    EXPECT_THAT(Tree("to"), IsEmpty());
  }
}

TEST_F(OddEntries, OfABlockDeviceNothingIsCopied) {
  const std::string device = Path("device");
  if (::mknod(device.c_str(), S_IFBLK | 0600, /*of no driver*/ 0) != 0) {
    GTEST_SKIP() << "no device can be made here";
  }
  EXPECT_EQ(FailureOf([&] { Copy(device, Path("to")); }),
            Exception("Cannot read " + device, EOPNOTSUPP));
}

Failure ToItself(const std::string& source) {
  return Exception("Cannot copy " + source + " to itself.");
}

Failure FailureOfCopying(const std::string& source, const std::string& destination) {
  return FailureOf([&] { Copy(source, destination); });
}

TEST_F(CopyOfACircle, OrIntoItselfIsRefusedAndChangesNothing) {
  struct Row {
    std::vector<std::string> entries;
    std::string source, refused_at;
    std::string destination = "elsewhere/to";
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
      {{"above/from/up -> .."}, "above/from", "above/from/up/from"},
      {{"from/a/up -> ..", "link -> from"}, "link", "link/a/up"},
      {{"from/a/up -> ..", "link -> from"}, "link/a/..", "link/a/../a/up"},
      // an empty directory, the target of a link in the source, the target of one in the
      // destination
      {{"empty/"}, "empty", "empty", "empty/to"},
      {{"big/file", "from/a/link -> ../../big"}, "from", "from/a/link", "big/deep/to"},
      {{"from/sub/inner/file", "to/sub -> ../from/sub/inner"}, "from", "from/sub", "to"},
      {{"from/a/sub/inner/file", "to/a/sub -> ../../from/a/sub/inner"},
       "from",
       "from/a/sub",
       "to"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.entries[0]);
    Make(row.entries);
    const auto before = ExactTree();
    EXPECT_EQ(FailureOfCopying(Path(row.source), Path(row.destination)),
              ToItself(Path(row.refused_at)));
    EXPECT_EQ(ExactTree(), before);
    Clear();
  }
}

TEST_F(CopyOfACircle, IsNotSeenWhereLinksLeadAsideOrDown) {
  Make({"from/a/b/file", "from/down -> a/b", "from/aside/one -> ../a/b",
        "from/aside/two -> ../a/b"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a", "d 755 a/b", "d 755 aside", "d 755 aside/one",
                                      "d 755 aside/two", "d 755 down", "f 644 a/b/file = text",
                                      "f 644 aside/one/file = text", "f 644 aside/two/file = text",
                                      "f 644 down/file = text"));
}

/// Directories that each have a link "next" to the next one. The last one contains a file.
class LinksBehindLinks : public InOwnDirectory {
 protected:
  LinksBehindLinks() {
    for (int step = 0; step < 60; ++step) {
      Make({"steps/" + std::to_string(step) + "/next -> ../" + std::to_string(step + 1)});
    }
    Make({"steps/60/file"});
  }
};

TEST_F(LinksBehindLinks, AreCopiedAsFarAsTheSystemFollows) {
  std::string below;
  std::error_code ignored;
  while (fs::exists(Path("steps/0" + below + "/next"), ignored)) below += "/next";
  EXPECT_EQ(FailureOfCopying(Path("steps/0"), Path("to")),
            ExceptionErrno("Cannot stat " + Path("steps/0" + below + "/next"), ELOOP));
  EXPECT_TRUE(fs::is_empty(Path("to" + below)));
  Copy(Path("steps/40"), Path("whole"));
  EXPECT_EQ(Tree("whole").size(), 21U);
  EXPECT_THAT(Tree("whole").back(), testing::EndsWith("/next/file = text"));
}

TEST_F(LinksBehindLinks, StayInAnEmptyTreeWhereTheSystemStopsFollowing) {
  fs::remove(Path("steps/60/file"));
  const auto before = Tree();
  EXPECT_FALSE(DeleteEmptyTree(Path("steps/0")));
  EXPECT_EQ(Tree(), before);
  EXPECT_TRUE(DeleteEmptyTree(Path("steps/40")));
  EXPECT_EQ(Tree("steps").size(), 40U + 60U);  // 40 links, and the directories without one
}

/// A directory "from" with "file", "sub" and "sub/file", and paths that lead into it.
class CopyIntoItselfByAnyWay : public InOwnDirectory {
 protected:
  CopyIntoItselfByAnyWay() {
    Make({"from/file", "from/sub/file", "to_from -> from", "to_sub -> from/sub",
          "back\\slash -> from/sub", "beside/"});
  }

  std::string Absolute(const std::string& path) const { return path[0] == '/' ? path : Path(path); }
};

TEST_F(CopyIntoItselfByAnyWay, IsRefusedBeforeAnythingIsDone) {
  const std::vector<std::string> destinations = {
      "from/to", "from/sub", "from/sub/", "from/file", "from/new/deep/to", "from//new/.",
      "./from/new/to", Path("from/to"),
      // through existing and missing entries
      "from/sub/../to", "from/../from/to", "beside/../from/to", "missing/../from/to",
      "missing/deep/../../from/sub/to", "from/missing/../to",
      // through links and backslashes
      "to_from/to", "to_sub", "to_sub/", "to_sub/to", "to_from/new/to", "to_sub/../to", "from\\to",
      "back\\slash"};
  std::vector<std::pair<std::string, std::string>> rows = {{".", "from"}, {".", "./to"}};
  for (const std::string& destination : destinations) rows.emplace_back("from", destination);
  for (const std::string source :
       {"from/", "from//.", "from/sub/..", "./from", "to_from", "to_sub/.."}) {
    rows.emplace_back(source, "from/to");
  }
  for (const std::string above : {".", "..", "from/.."}) rows.emplace_back(above, "to");
  rows.emplace_back(Path("from"), "from/to");
  const auto before = ExactTree();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first + " to " + row.second);
    EXPECT_EQ(FailureOfCopying(Absolute(row.first), Absolute(row.second)),
              ToItself(Absolute(row.first)));
    EXPECT_EQ(FailureInside([&] { Copy(row.first, row.second); }), ToItself(row.first));
    EXPECT_EQ(ExactTree(), before);
  }
}

TEST_F(CopyIntoItselfByAnyWay, IsNotSeenBesideOrAboveTheSource) {
  for (const std::string name : {"from2", "fro", "beside/from", "from/../to", "from/sub/../../to",
                                 "beside", "missing/from"}) {
    EXPECT_EQ(FailureOfCopying(Path("from"), Path(name)), kNoFailure) << name;
    EXPECT_EQ(ReadFile(Path(name + "/sub/file")), "text") << name;
  }
  EXPECT_EQ(FailureOfCopying(Path("from/sub"), Path()), kNoFailure);
  EXPECT_EQ(ReadFile(Path("file")), "text");
}

TEST_F(CopyIntoItself, IsNoticedWhereTheWorkingDirectoryHasNoPath) {
  const std::string from = MakeDir("from"), elsewhere = from.substr(1) + "/to";
  Make({"from/file"});
  const auto copy_elsewhere_and_into_itself = [&] {
    const std::string name(200, 'n');
    for (int level = 0; level < 25; ++level) {  // too deep for a path of the system
      fs::create_directory(name);
      fs::current_path(name);
    }
    Copy(from, elsewhere);
    if (ReadFile(elsewhere + "/file") != "text") throw std::runtime_error("none");
    fs::create_directories("from/empty");
    Copy("from", "from/to");
  };
  EXPECT_EQ(FailureInside(copy_elsewhere_and_into_itself), ToItself("from"));
}

// A directory does not lie inside itself. Each of its files refuses to be copied onto itself.
TEST_F(CopyIntoItself, OfADirectoryOntoItselfIsRefusedByItsFiles) {
  Make({"from/empty/"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), kNoFailure);
  Make({"from/sub/file"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("from")), ToItself(Path("from/sub/file")));
  EXPECT_THAT(Tree("from"), ElementsAre("d 755 empty", "d 755 sub", "f 644 sub/file = text"));
}

// The path "to/a\b" does not lead through the link "to/a".
TEST_F(CopyIntoItself, IsNotMistakenForNamesWithBackslashes) {
  Make({"other/file", "from/a\\b -> ../other", "to/a -> ../other"});
  EXPECT_EQ(FailureOfCopying(Path("from"), Path("to")), kNoFailure);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a\\b", "f 644 a\\b/file = text", "l a -> ../other"));
  EXPECT_THAT(Tree("other"), ElementsAre("f 644 file = text"));
}

}  // namespace
}  // namespace kvl::test
