// Copy and CopyDir: the choice between file and tree, and trees.

#include "insio/copy.h"

#include "tests/insio/in_own_directory.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using CopyTest = InOwnDirectory;
using CopyDirTest = InOwnDirectory;

TEST_F(CopyTest, TellsFilesFromDirectoriesAlsoBehindLinks) {
  Write("from/sub/file", "text");
  Copy(Path("from"), Path("to/tree"));
  Copy(Link("link_to_tree", "from"), Path("to/linked_tree"));
  Copy(Path("from/sub/file"), Path("to/file"));
  Copy(Link("link_to_file", "from/sub/file"), Path("to/linked_file"));
  EXPECT_THAT(Tree("to"),
              ElementsAre("d 755 linked_tree", "d 755 linked_tree/sub", "d 755 tree",
                          "d 755 tree/sub", "f 644 file = text", "f 644 linked_file = text",
                          "f 644 linked_tree/sub/file = text", "f 644 tree/sub/file = text"));
}

TEST_F(CopyTest, FailsWithItsMessageAndChangesNothing) {
  const std::string file = Write("file", ""), missing = Path("missing");
  const std::string dangling = Link("dangling", "nowhere");
  const Failure no_source = Exception("Copy - empty source path");
  const Failure no_destination = Exception("Copy - empty destination path");
  const Unchanged tree(Path());
  for (const auto& row : std::vector<CallWithTwoPaths>{
           {"an empty source", "", file, no_source},
           {"the source is looked at first", "", "", no_source},
           {"an empty destination", file, "", no_destination},
           {"paths are looked at before files", missing, "", no_destination},
           {"a missing source, in the test of its type", missing, Path("to/copy"),
            Exception("lstat - " + missing, ENOENT)},
           {"a dangling link, in the copy of a file", dangling, Path("to"),
            ExceptionErrno("Cannot stat " + dangling, ENOENT)},
           {"a file onto itself", file, file, Exception("Cannot copy " + file + " to itself.")},
       }) {
    EXPECT_EQ(FailureOf([&] { Copy(row.source, row.destination); }), row.failure) << row.name;
  }
}

TEST_F(CopyDirTest, ReproducesEmptyDirectoriesAndDirectoriesOfThem) {
  CopyDir(MakeDir("empty"), Path("deep/to"));
  MakeDir("from/empty");
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 deep", "d 755 deep/to", "d 755 empty", "d 755 from",
                                  "d 755 from/empty", "d 755 to", "d 755 to/empty"));
}

TEST_F(CopyDirTest, TakesASourceThatCannotBeOpenedForAnEmptyOne) {
  CopyDir(Path("missing"), Path("missing/to"));
  CopyDir(Write("file", "text"), Path("as_well"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 as_well", "d 755 missing", "d 755 missing/to",
                                  "f 644 file = text"));
}

TEST_F(CopyDirTest, FollowsLinksAndKeepsModesAndTimesOfFilesOnly) {
  SetMode(Write("outside/sub/file", "text"), 0640);
  SetMode(Path("outside/sub"), 07700);
  SetTimes(Path("outside/sub/file"), 1'000'000'000, 1'234'567'890);
  SetTimes(Path("outside/sub"), 1, 2);
  Link("from/to_directory", "../outside");
  Link("from/to_file", "../outside/sub/file");
  const ScopedUmask umask(027);
  CopyDir(Path("from"), Path("to"));
  const struct stat file = StatusOf(Path("to/to_directory/sub/file"));
  EXPECT_EQ(file.st_mtime, 1'234'567'890);
  EXPECT_NE(StatusOf(Path("to/to_directory/sub")).st_mtime, 2);
  EXPECT_THAT(Tree("to"),
              ElementsAre("d 750 to_directory", "d 750 to_directory/sub",
                          "f 640 to_directory/sub/file = text", "f 640 to_file = text"));
}

TEST_F(CopyDirTest, AddsToAnExistingDestination) {
  Write("from/a/file", "new");
  Write("from/other", "other");
  SetMode(Write("to/a/file", "old contents"), 0600);
  Write("to/kept", "kept");
  SetMode(Path("to/a"), 0700);
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"), ElementsAre("d 700 a", "f 600 a/file = new", "f 644 kept = kept",
                                      "f 644 other = other"));
}

/// A directory that is the root directory of the copying process.
class CopyDirInTheRoot : public InOwnDirectory {
 protected:
  void SetUp() override {
    if (FailureInRoot([] {}) != kNoFailure) {
      GTEST_SKIP() << "this user may not have a root directory of its own";
    }
  }

  Failure FailureInRoot(const std::function<void()>& action) const {
    return FailureInside([&action] {
      // An ordinary user may at most do that in a user namespace.
      const bool is_done =
          ::chroot(".") == 0 || (::unshare(CLONE_NEWUSER) == 0 && ::chroot(".") == 0);
      if (!is_done) throw std::runtime_error("not allowed");
      action();
    });
  }
};

TEST_F(CopyDirInTheRoot, MakesItsDirectoriesThere) {
  Write("from/ab/c/file", "text");
  EXPECT_EQ(FailureInRoot([] { CopyDir("/from", "/"); }), kNoFailure);
  EXPECT_THAT(Tree("ab"), ElementsAre("d 755 c", "f 644 c/file = text"));
}

TEST_F(CopyDirInTheRoot, NamesDirectoriesBelowItWithOneSlash) {
  Write("from/a/b/file", "text");
  Write("a", "a file in the way");
  EXPECT_EQ(FailureInRoot([] { CopyDir("/from", "/"); }), Exception("mkdir - /a/b", ENOTDIR));
}

TEST_F(CopyDirInTheRoot, IsTheMeaningOfAnEmptyDestination) {
  Write("from/a/file", "text");
  for (const std::string place : {"/from", "/from/a"}) {
    EXPECT_EQ(FailureInRoot([&] {
                fs::current_path(place);
                CopyDir("/from", "");
              }),
              kNoFailure);
    EXPECT_THAT(Tree("a"), ElementsAre("f 644 file = text"));
    fs::remove_all(Path("a"));
  }
}

TEST_F(CopyDirInTheRoot, MakesNoDirectoryOfALetterAndADot) {
  MakeDir("empty");
  Write("from/file", "text");
  Write("with/k./file", "text");
  const Unchanged tree(Path());
  EXPECT_EQ(FailureInRoot([] { Copy("/empty", "/k."); }), kNoFailure);
  EXPECT_EQ(FailureInRoot([] { Copy("/from", "/k."); }),
            Exception("Cannot write into /k./file", ENOENT));
  EXPECT_EQ(FailureInRoot([] { CopyDir("/with", "/"); }),
            Exception("Cannot write into //k./file", ENOENT));
}

// CopyDir makes the directory without the quotes, but writes the files to the path with them.
TEST_F(CopyDirTest, IntoAQuotedDestinationHasNoPlaceForAFile) {
  MakeDir("empty");
  Write("from/file", "");
  Write("deep/sub/file", "");
  Write("closing/x'", "");
  const Failure no_path = Exception("CreateDir - empty path");
  for (const auto& row : std::vector<CallWithTwoPaths>{
           {"no file", "empty", "\"1\"", kNoFailure},
           {"a file", "from", "\"2\"", Exception("Cannot write into \"2\"/file", ENOENT)},
           {"a directory", "deep", "\"3\"", Exception("mkdir - \"3\"/sub", ENOENT)},
           {"quotes on the way", "from", "'4'/a", Exception("mkdir - '4'/a", ENOENT)},
           {"an entry closes them", "closing", "'5", Exception("Cannot write into '5/x'", ENOENT)},
           {"nothing but quotes, no file", "empty", "''", no_path},
           {"nothing but quotes, a file", "from", "''", no_path},
       }) {
    EXPECT_EQ(FailureInside([&] { CopyDir(row.source, row.destination); }), row.failure)
        << row.name;
  }
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 1", "d 755 2", "d 755 3", "d 755 4", "d 755 5", "d 755 closing",
                          "d 755 deep", "d 755 deep/sub", "d 755 empty", "d 755 from",
                          "f 644 closing/x' = ", "f 644 deep/sub/file = ", "f 644 from/file = "));
}

TEST_F(CopyDirTest, TakesADestinationWhoseNameHasTheQuotes) {
  MakeDir("from/none");
  Write("from/sub/file", "text");
  Write("\"to\"/sub/file", "old");
  EXPECT_EQ(FailureInside([] { CopyDir("from", "\"to\""); }), kNoFailure);
  EXPECT_THAT(Tree("\"to\""), ElementsAre("d 755 none", "d 755 sub", "f 644 sub/file = text"));
  EXPECT_THAT(Tree("to"), IsEmpty());
}

TEST_F(CopyDirTest, FailsWithTheMessageOfItsFirstFailure) {
  Write("from/a/b/file", "");
  const std::string from = Path("from"), empty = MakeDir("empty"), file = Write("file", "");
  const std::string dangling = Link("dangling/a/b/link", "nowhere");
  const Failure no_directory = Exception("CreateDir - " + file + " is not a directory.");
  Write("entry/entry", "");
  MakeDir("of_a_directory/entry");
  Write("of_a_file/a", "");
  Link("of_a_link/a", "nowhere");
  Write("low/a/file", "");
  for (const auto& row : std::vector<CallWithTwoPaths>{
           {"no source", "", Path("to"), Exception("FindFirstFile - Path is empty")},
           {"a file into itself", file, file + "/to",
            Exception("mkdir - " + file + "/to", ENOTDIR)},
           {"a dangling link, named without doubled slashes", Path("dangling//"), Path("to"),
            ExceptionErrno("Cannot stat " + dangling, ENOENT)},
           {"the destination is put together as given", Path("entry"), Path("of_a_directory/"),
            Exception("Cannot write into " + Path("of_a_directory//entry"), EISDIR)},
           {"nothing onto a file", empty, file, no_directory},
           {"a file onto a file", Path("entry"), file, no_directory},
           {"the directory of the first file cannot be made", from, Path("of_a_file/"),
            Exception("mkdir - " + Path("of_a_file/a/b"), ENOTDIR)},
           {"the directory of a file is a dangling link", Path("low"), Path("of_a_link"),
            Exception("Cannot write into " + Path("of_a_link/a/file"), ENOENT)},
       }) {
    EXPECT_EQ(FailureOf([&] { CopyDir(row.source, row.destination); }), row.failure) << row.name;
  }
}

TEST_F(CopyDirTest, KeepsWhatWasCopiedBeforeAFailureAndNoDescriptor) {
  Write("from/file", "text");
  {
    const FailingCall broken(FailingCall::kReadDir, EIO,
                             /*after=*/3);  // all entries but not the end
    EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to")); }),
              Exception("readdir - " + Path("from"), EIO));
  }
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyDirTest, TakesOnlyAMissingOrClosedDirectoryForEmpty) {
  Write("from/sub/file", "text");
  constexpr int kLastError = 133;
  for (int error = 1; error <= kLastError; ++error) {
    const bool counts_as_empty = error == EACCES || error == ENOENT;
    const auto copy = [&] {
      const FailingCall broken(FailingCall::kOpenDir, "", error,
                               /*after=*/1);  // all except the top
      CopyDir(Path("from"), Path("to"));
    };
    EXPECT_EQ(FailureOf(copy),
              counts_as_empty ? kNoFailure : Exception("opendir - " + Path("from/sub"), error));
    EXPECT_EQ(fs::is_directory(Path("to/sub")), counts_as_empty) << error;
    fs::remove_all(Path("to"));
  }
}

}  // namespace
}  // namespace kvl::test
