#include "insio/copy.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/path_faults.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Copy;
using KVLInsIO::CopyDir;

/// A directory in which trees are copied.
class CopyTest : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree(const std::string& name) const { return DescribeTree(Path(name)); }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

using CopyDirTest = CopyTest;

TEST_F(CopyTest, OfAFileIsAFile) {
  Copy(directory_.Write("file", "text"), Path("to/copy"));
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 copy = text"));
}

TEST_F(CopyTest, OfADirectoryIsItsTree) {
  directory_.Write("from/a/file", "text");
  Copy(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 a", "f 644 a/file = text"));
}

TEST_F(CopyTest, OfALinkToADirectoryIsADirectory) {
  directory_.Write("from/file", "text");
  Copy(directory_.Link("link", "from"), Path("to"));
  EXPECT_FALSE(std::filesystem::is_symlink(Path("to")));
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyTest, OfALinkToAFileIsAFile) {
  directory_.Write("file", "text");
  Copy(directory_.Link("link", "file"), Path("to/copy"));
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 copy = text"));
}

TEST_F(CopyTest, OfADanglingLinkFailsInTheCopyOfAFile) {
  const std::string link = directory_.Link("link", "nowhere");
  EXPECT_EQ(FailureOf([&] { Copy(link, Path("to")); }),
            ExceptionErrno("Cannot stat " + link, ENOENT));
}

TEST_F(CopyTest, OfAMissingSourceFailsInTheTestOfItsType) {
  EXPECT_EQ(FailureOf([&] { Copy(Path("missing"), Path("to/copy")); }),
            Exception("lstat - " + Path("missing"), ENOENT));
  EXPECT_THAT(Tree("."), IsEmpty());
}

TEST_F(CopyTest, RefusesEmptyPathsTheSourceFirst) {
  const std::string file = directory_.Write("file", "");
  EXPECT_EQ(FailureOf([&] { Copy("", file); }), Exception("Copy - empty source path"));
  EXPECT_EQ(FailureOf([&] { Copy("", ""); }), Exception("Copy - empty source path"));
  EXPECT_EQ(FailureOf([&] { Copy(file, ""); }), Exception("Copy - empty destination path"));
  EXPECT_EQ(FailureOf([&] { Copy(Path("missing"), ""); }),
            Exception("Copy - empty destination path"));
}

TEST_F(CopyTest, ReportsWhatTheCopyOfAFileReports) {
  const std::string file = directory_.Write("file", "");
  EXPECT_EQ(FailureOf([&] { Copy(file, file); }), Exception("Cannot copy " + file + " to itself."));
}

TEST_F(CopyDirTest, OfATreeWithoutLinksEqualsTheTree) {
  for (const std::string& name : kOddNames) {
    directory_.Write("from/" + name + "/" + name, name);
    directory_.MakeDir("from/empty" + name.substr(0, 100) + "/" + name);
  }
  SetMode(directory_.Write("from/program", std::string(100'000, 'p')), 0755);
  CopyDir(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
}

TEST_F(CopyDirTest, CopiesSeveralHundredLevels) {
  std::string below;
  for (int level = 0; level < 500; ++level) below += "/d";
  directory_.Write("from" + below + "/file", "text");
  CopyDir(Path("from"), Path("to"));
  const std::filesystem::recursive_directory_iterator all(Path("to"));
  EXPECT_EQ(std::distance(begin(all), end(all)), 501);
  EXPECT_EQ(ReadFile(Path("to" + below + "/file")), "text");
}

TEST_F(CopyDirTest, LeavesTheSourceAsItIs) {
  directory_.Write("from/a/file", "text");
  directory_.Link("from/link", "a");
  const auto before = DescribeTreeExactly(Path("from"));
  CopyDir(Path("from"), Path("to"));
  EXPECT_EQ(DescribeTreeExactly(Path("from")), before);
}

TEST_F(CopyDirTest, MakesAnEmptyDirectory) {
  directory_.MakeDir("from");
  CopyDir(Path("from"), Path("deep/to"));
  EXPECT_THAT(Tree("."), ElementsAre("d 755 deep", "d 755 deep/to", "d 755 from"));
}

TEST_F(CopyDirTest, MakesBothLevelsOfAnEmptyDirectoryInADirectory) {
  directory_.MakeDir("from/empty");
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree("."),
              ElementsAre("d 755 from", "d 755 from/empty", "d 755 to", "d 755 to/empty"));
}

TEST_F(CopyDirTest, TakesASourceThatCannotBeOpenedForAnEmptyOne) {
  CopyDir(Path("missing"), Path("to"));
  CopyDir(directory_.Write("file", "text"), Path("as_well"));
  EXPECT_THAT(Tree("."), ElementsAre("d 755 as_well", "d 755 to", "f 644 file = text"));
}

TEST_F(CopyDirTest, FollowsLinksToFilesAndDirectories) {
  directory_.Write("outside/sub/file", "text");
  directory_.Link("from/to_directory", "../outside");
  directory_.Link("from/to_file", "../outside/sub/file");
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"),
              ElementsAre("d 755 to_directory", "d 755 to_directory/sub",
                          "f 644 to_directory/sub/file = text", "f 644 to_file = text"));
}

/// What Copy or CopyDir threw, called where the test's directory is the root directory; no value where
/// that is not allowed.
std::optional<std::string> FailureInOwnRoot(const TestDirectory& directory,
                                            const std::function<void()>& action) {
  constexpr int kNotAllowed = 77;
  const Outcome outcome = RunIsolated([&] {
    if (!EnterAsRootDirectory(directory)) return kNotAllowed;
    std::cout << FailureOf(action).text;
    return 0;
  });
  if (outcome.status == kNotAllowed) return std::nullopt;
  return outcome.out;
}

constexpr char kNoOwnRoot[] = "this user may not have a root directory of its own";

TEST_F(CopyDirTest, IntoTheRootDirectoryMakesItsDirectoriesThere) {
  directory_.Write("from/ab/c/file", "text");
  const auto failure = FailureInOwnRoot(directory_, [] { CopyDir("/from", "/"); });
  if (!failure) GTEST_SKIP() << kNoOwnRoot;
  EXPECT_EQ(*failure, "");
  EXPECT_THAT(Tree("ab"), ElementsAre("d 755 c", "f 644 c/file = text"));
}

TEST_F(CopyDirTest, NamesDirectoriesBelowTheRootWithOneSlash) {
  directory_.Write("from/a/b/file", "text");
  directory_.Write("a", "a file in the way");
  const auto failure = FailureInOwnRoot(directory_, [] { CopyDir("/from", "/"); });
  if (!failure) GTEST_SKIP() << kNoOwnRoot;
  EXPECT_EQ(*failure, Exception("mkdir - /a/b", ENOTDIR).text);
}

TEST_F(CopyDirTest, WithoutADestinationIsIntoTheRootDirectoryEvenFromWithinTheSource) {
  directory_.Write("from/a/file", "text");
  const auto failure = FailureInOwnRoot(directory_, [] {
    for (const char* place : {"/from", "/from/a"}) {
      std::filesystem::current_path(place);
      std::filesystem::remove_all("/a");
      CopyDir("/from", "");
    }
  });
  if (!failure) GTEST_SKIP() << kNoOwnRoot;
  EXPECT_EQ(*failure, "");
  EXPECT_THAT(Tree("a"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyDirTest, IntoALetterAndADotBelowTheRootMakesNoDirectoryAsCreateDirMakesNone) {
  directory_.Write("from/file", "text");
  directory_.MakeDir("empty");
  const auto failure = FailureInOwnRoot(directory_, [] {
    Copy("/empty", "/k.");
    Copy("/from", "/k.");
  });
  if (!failure) GTEST_SKIP() << kNoOwnRoot;
  EXPECT_EQ(*failure, Exception("Cannot write into /k./file", ENOENT).text);
  EXPECT_THAT(Tree("."), ElementsAre("d 755 empty", "d 755 from", "f 644 from/file = text"));
}

TEST_F(CopyDirTest, MakesNoneForADirectoryOfThatNameEither) {
  directory_.Write("from/k./file", "text");
  const auto failure = FailureInOwnRoot(directory_, [] { CopyDir("/from", "/"); });
  if (!failure) GTEST_SKIP() << kNoOwnRoot;
  EXPECT_EQ(*failure, Exception("Cannot write into //k./file", ENOENT).text);
}

/// What CopyDir threw, called with relative paths.
Failure FailureInside(const TestDirectory& directory, const std::string& from,
                      const std::string& to) {
  return IsolatedFailureOf([&] {
    Enter(directory);
    CopyDir(from, to);
  });
}

// The directory is made without its quotes, and the files go to the path with them.
TEST_F(CopyDirTest, IntoAQuotedDestinationMakesTheDirectoryAndHasNoPlaceForAFile) {
  directory_.MakeDir("empty");
  directory_.Write("from/file", "text");
  directory_.Write("deep/sub/file", "text");
  EXPECT_EQ(FailureInside(directory_, "empty", "\"1\""), kNoFailure);
  EXPECT_EQ(FailureInside(directory_, "from", "\"2\""),
            Exception("Cannot write into \"2\"/file", ENOENT));
  EXPECT_EQ(FailureInside(directory_, "deep", "\"3\""), Exception("mkdir - \"3\"/sub", ENOENT));
  EXPECT_EQ(FailureInside(directory_, "from", "'4'/a"), Exception("mkdir - '4'/a", ENOENT));
  EXPECT_THAT(Tree("."), ElementsAre("d 755 1", "d 755 2", "d 755 3", "d 755 4", "d 755 deep",
                                     "d 755 deep/sub", "d 755 empty", "d 755 from",
                                     "f 644 deep/sub/file = text", "f 644 from/file = text"));
}

TEST_F(CopyDirTest, MakesTheDirectoryOfAnEntryWhoseNameClosesTheQuotesWithoutThem) {
  directory_.Write("from/x'", "text");
  EXPECT_EQ(FailureInside(directory_, "from", "'to"),
            Exception("Cannot write into 'to/x'", ENOENT));
  EXPECT_THAT(Tree("."), ElementsAre("d 755 from", "d 755 to", "f 644 from/x' = text"));
}

TEST_F(CopyDirTest, IntoADestinationWhoseNameHasTheQuotesLeavesOtherEntriesAlone) {
  directory_.Write("from/sub/file", "text");
  directory_.Write("\"to\"/sub/file", "old");
  EXPECT_EQ(FailureInside(directory_, "from", "\"to\""), kNoFailure);
  EXPECT_THAT(Tree("\"to\""), ElementsAre("d 755 sub", "f 644 sub/file = text"));
  EXPECT_THAT(Tree("to"), IsEmpty());
}

TEST_F(CopyDirTest, RefusesADestinationOfNothingButQuotes) {
  directory_.MakeDir("empty");
  directory_.Write("from/file", "text");
  for (const std::string from : {"empty", "from"}) {
    EXPECT_EQ(FailureInside(directory_, from, "''"), Exception("CreateDir - empty path")) << from;
  }
}

TEST_F(CopyDirTest, AddsToAnExistingDestination) {
  directory_.Write("from/a/file", "new");
  directory_.Write("from/other", "other");
  SetMode(directory_.Write("to/a/file", "old contents"), 0600);
  directory_.Write("to/kept", "kept");
  SetMode(Path("to/a"), 0700);
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"), ElementsAre("d 700 a", "f 600 a/file = new", "f 644 kept = kept",
                                      "f 644 other = other"));
}

TEST_F(CopyDirTest, CopiesNeitherModeNorTimesOfDirectories) {
  SetMode(directory_.MakeDir("from/sub"), 0700);
  SetTimes(Path("from/sub"), 1, 2);
  const ScopedUmask umask(027);
  CopyDir(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"), ElementsAre("d 750 sub"));
  EXPECT_NE(StatusOf(Path("to/sub")).st_mtime, 2);
}

TEST_F(CopyDirTest, KeepsModesAndTimesOfFiles) {
  SetMode(directory_.Write("from/sub/file", "text"), 0640);
  SetTimes(Path("from/sub/file"), 1'000'000'000, 1'234'567'890);
  CopyDir(Path("from"), Path("to"));
  const struct stat status = StatusOf(Path("to/sub/file"));
  EXPECT_EQ(status.st_atime, 1'000'000'000);
  EXPECT_EQ(status.st_mtime, 1'234'567'890);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 sub", "f 640 sub/file = text"));
}

TEST_F(CopyDirTest, EndsWithADanglingLinkAndKeepsWhatWasCopied) {
  directory_.Link("from/dangling", "nowhere");
  directory_.Write("before/file", "text");
  const auto descriptors = OpenDescriptors();
  CopyDir(Path("before"), Path("to"));
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from//"), Path("to/sub")); }),
            ExceptionErrno("Cannot stat " + Path("from/dangling"), ENOENT));
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_THAT(Tree("to"), ElementsAre("d 755 sub", "f 644 file = text"));
}

TEST_F(CopyDirTest, ReportsADanglingLinkDeepInside) {
  directory_.Link("from/a/b/dangling", "nowhere");
  EXPECT_EQ(FailureOf([this] { Copy(Path("from"), Path("to")); }),
            ExceptionErrno("Cannot stat " + Path("from/a/b/dangling"), ENOENT));
}

TEST_F(CopyDirTest, PutsTheDestinationTogetherAsGiven) {
  directory_.Write("from/entry", "");
  directory_.MakeDir("to/entry");
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to/")); }),
            Exception("Cannot write into " + Path("to//entry"), EISDIR));
}

TEST_F(CopyDirTest, FailsOntoAFile) {
  directory_.MakeDir("empty");
  directory_.Write("from/entry", "");
  const std::string file = directory_.Write("file", "text");
  const Failure expected = Exception("CreateDir - " + file + " is not a directory.");
  EXPECT_EQ(FailureOf([&] { CopyDir(Path("empty"), file); }), expected);
  EXPECT_EQ(FailureOf([&] { CopyDir(Path("from"), file); }), expected);
}

TEST_F(CopyDirTest, RefusesAnEmptySource) {
  EXPECT_EQ(FailureOf([this] { CopyDir("", Path("to")); }),
            Exception("FindFirstFile - Path is empty"));
}

TEST_F(CopyDirTest, FailsWhenADirectoryCannotBeReadToItsEnd) {
  directory_.Write("from/file", "text");
  const auto descriptors = OpenDescriptors();
  {
    const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/3);  // all, but the end
    EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to")); }),
              Exception("readdir - " + Path("from"), EIO));
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = text"));
}

TEST_F(CopyDirTest, RefusesALinkToItsOwnDirectory) {
  const std::string link = directory_.Link("from/self", ".");
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to")); }),
            Exception("Cannot copy " + link + " to itself."));
  EXPECT_THAT(Tree("to"), IsEmpty());
}

TEST_F(CopyDirTest, EndsWhenNoDescriptorIsLeftForADirectory) {
  const std::string source = directory_.Path("from");
  directory_.Write("from/inner/file", "contents");
  EXPECT_EQ(IsolatedFailureOf([&] {
              // A first copy, since a sanitizer opens descriptors for each class that is new to it.
              CopyDir(source, directory_.Path("before"));
              LimitFurtherDescriptors(1);
              CopyDir(source, directory_.Path("to"));
            }),
            Exception("opendir - " + source + "/inner", EMFILE));
}

TEST_F(CopyDirTest, TakesADirectoryInTheTreeForEmptyOnlyWhenItIsMissingOrClosedToTheUser) {
  directory_.Write("from/sub/file", "text");
  constexpr int kLastError = 133;
  for (int error = 1; error <= kLastError; ++error) {
    const bool counts_as_empty = error == EACCES || error == ENOENT;
    Failure failure;
    {
      const FailingPath broken(FailingPath::kOpenDir, "", error, /*after=*/1);  // all but the top
      failure = FailureOf([this] { CopyDir(Path("from"), Path("to")); });
    }
    EXPECT_EQ(failure,
              counts_as_empty ? kNoFailure : Exception("opendir - " + Path("from/sub"), error));
    EXPECT_EQ(std::filesystem::is_directory(Path("to/sub")), counts_as_empty) << error;
    std::filesystem::remove_all(Path("to"));
  }
}

TEST_F(CopyDirTest, NamesTheDirectoryOfTheFirstFileWhenItCannotBeMade) {
  directory_.Write("from/a/b/file", "");
  const std::string in_the_way = directory_.Write("to/a", "");
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to/")); }),
            Exception("mkdir - " + in_the_way + "/b", ENOTDIR));
}

TEST_F(CopyDirTest, NamesTheFileWhoseDirectoryIsADanglingLink) {
  directory_.Write("from/a/file", "");
  const std::string link = directory_.Link("to/a", "nowhere");
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("to")); }),
            Exception("Cannot write into " + link + "/file", ENOENT));
}

}  // namespace
}  // namespace kvl::test
