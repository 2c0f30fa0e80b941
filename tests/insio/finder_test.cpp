#include "insio/finder.h"

#include "insio/finder_walk.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"
#include "tests/insio/odd_paths.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using KVLInsIO::internal::ReadAhead;

using FinderTest = InOwnDirectory;
using ForEachNameTest = InOwnDirectory;

constexpr std::size_t kPlenty = 1'000'000;  // bytes of names

/// Returns everything that the finder says about each entry, sorted: "name type full-path", and
/// "file" or "directory".
std::vector<std::string> Found(InsFileFinder finder) {
  std::vector<std::string> lines;
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    lines.push_back(finder.Name() + " " + std::to_string(finder.Type()) + " " + finder.FullPath() +
                    (finder.IsFile() ? " file" : "") + (finder.IsDirectory() ? " directory" : ""));
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// Returns the names from the current entry on, in their order. At each one, reads `ahead` bytes
/// ahead.
std::vector<std::string> NamesFrom(InsFileFinder finder, std::size_t ahead = 0) {
  std::vector<std::string> names;
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    ReadAhead(finder, ahead);
    names.push_back(finder.Name());
  }
  return names;
}

TEST(Finder, GivesTheEntriesOfEveryKindThatTheMaskHas) {
  const EveryKind world;
  const std::vector<std::pair<int, std::string>> rows = {
      {kDirectoryOrFile, "everything"},
      {kDirectory, "directories and links to them, no files"},
      {kFile, "files and every other link, no directories"}};
  const auto descriptors = OpenDescriptors();
  for (const auto& [mask, what] : rows) {
    SCOPED_TRACE(what);
    std::vector<std::string> expected;
    for (const Kind& kind : kEveryKind) {
      if ((kind.type & mask) == 0) continue;
      expected.push_back(kind.name + " " + std::to_string(kind.type) + " " + world.Path(kind.name) +
                         ((kind.type & 2) != 0 ? " file" : " directory"));
    }
    EXPECT_EQ(Found(FindFirstFile(world.Path(), mask)), expected);
    InsFileFinder ahead = FindFirstFile(world.Path(), mask);
    ReadAhead(ahead, kPlenty);
    EXPECT_EQ(OpenDescriptors(), descriptors) << "all is read, so the directory is closed";
    EXPECT_EQ(Found(std::move(ahead)), expected);
  }
}

TEST_F(FinderTest, GivesEachNameOnceAsTheSystemDoesAndInItsOrder) {
  for (const std::string& name : kOddNames) Write(name, "");
  for (int i = 0; i < 1500; ++i) Write(std::to_string(i), "");
  const auto names = NamesInOrder(Path());
  EXPECT_EQ(std::set(names.begin(), names.end()).size(), 1500 + kOddNames.size());
  EXPECT_EQ(NamesFrom(FindFirstFile(Path(), kDirectoryOrFile)), names);
  EXPECT_EQ(NamesFrom(FindFirstFile(Path(), kDirectoryOrFile), kPlenty), names);
}

TEST(Finder, BeginsFullPathsInTheRootDirectoryWithTwoSlashes) {
  int entries = 0;
  for (InsFileFinder finder = FindFirstFile("/", kDirectoryOrFile); !finder.AtEnd(); ++entries) {
    EXPECT_EQ(finder.FullPath(), "//" + finder.Name());
    FindNextFile(finder);
  }
  EXPECT_GT(entries, 0);
}

TEST_F(FinderTest, OpensThePathAsGivenAndNamesItNormalised) {
  Make({"sub/file", "a\\b/entry", "a/b/entry/"});
  EXPECT_THAT(Found(FindFirstFile(Path("./sub//"), kFile)),
              ElementsAre("file 2 " + Path("./sub/file") + " file"));
  EXPECT_THAT(Found(FindFirstFile(Path("a\\b"), kDirectoryOrFile)),
              ElementsAre("entry 1 " + Path("a/b/entry") + " directory"));
}

TEST(Finder, IsAtTheEndAtOnceWhereNothingCanBeOpened) {
  const EveryKind world;
  std::vector<std::string> paths = {"\"" + world.Path() + "\"", world.Path(TooLongName())};
  for (const std::string name :
       {"missing", "file", "pipe", "dangling_link", "link_to_self", "link_to_file", "file/x"}) {
    paths.push_back(world.Path(name));
  }
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    InsFileFinder finder = FindFirstFile(path, kDirectoryOrFile);
    ReadAhead(finder, kPlenty);
    EXPECT_TRUE(finder.AtEnd());
    EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }), kNoFailure);
    EXPECT_TRUE(FindFirstFileExactly(path, kDirectoryOrFile).AtEnd());
    EXPECT_TRUE(IsEmptyDir(path));
    EXPECT_FALSE(ForEachName(path, [](std::string_view name) { ADD_FAILURE() << name; }));
  }
}

TEST(Finder, RefusesAPathThatNormalisesToNothing) {
  const Failure expected = Exception("FindFirstFile - Path is empty");
  for (const std::string path : {"", "''", "\"\"", "'"}) {
    EXPECT_EQ(FailureOf([&] { return FindFirstFile(path, kDirectoryOrFile); }), expected) << path;
    EXPECT_EQ(FailureOf([&] { return IsEmptyDir(path); }), expected) << path;
  }
  EXPECT_EQ(FailureOf([] { return FindFirstFileExactly("", kFile); }), expected);
  EXPECT_FALSE(ForEachName("", [](std::string_view name) { ADD_FAILURE() << name; }));
}

TEST_F(FinderTest, FailsOnAnEntryRemovedMeanwhileThoughReadAhead) {
  for (const std::size_t ahead : {std::size_t{0}, kPlenty}) {
    Make({"a", "b"});
    InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
    ReadAhead(finder, ahead);
    const std::string other = Path(finder.Name() == "a" ? "b" : "a");
    fs::remove(other);
    EXPECT_EQ(FailureOf([&] { FindNextFile(finder); }), Exception("lstat - " + other, ENOENT));
  }
}

// The longest path has one byte less than PATH_MAX, and both dots are entries, too.
TEST_F(FinderTest, FailsOnAnEntryWhosePathIsTooLongByOneByte) {
  constexpr std::size_t kLongest = PATH_MAX - 1;
  const std::string fits = PathOfLength(Path("fits"), kLongest - 3);
  const std::string too_long = PathOfLength(Path("too_long"), kLongest - 2);
  for (const std::string& directory : {fits, too_long}) fs::create_directories(directory);
  EXPECT_TRUE(FindFirstFile(fits, kDirectoryOrFile).AtEnd());
  EXPECT_EQ(FailureOf([&] { return FindFirstFile(too_long, kDirectoryOrFile); }),
            Exception("lstat - " + too_long + "/..", ENAMETOOLONG));
}

TEST_F(FinderTest, EndsEarlyWhenAListIsBrokenOffAndTellsWhenAsked) {
  Make({"a", "b", "c"});
  for (const auto& [ahead, error] : {std::pair(std::size_t{0}, EIO), {kPlenty, EPERM}}) {
    const FailingCall broken(FailingCall::kReadDir, error, /*after=*/4);  // "." and ".." included
    InsFileFinder finder = FindFirstFile(Path(""), kFile);
    ReadAhead(finder, ahead);
    int entries = 0;
    for (; !finder.AtEnd(); FindNextFile(finder)) ++entries;
    EXPECT_EQ(entries, 2);
    EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
              Exception("readdir - " + Path(), error));
    EXPECT_TRUE(IsEmptyDir(Path()));
    EXPECT_EQ(FailureOf([this] { FindFirstFileExactly(Path(""), kFile).ThrowIfCutShort(); }),
              Exception("readdir - " + Path(""), error));
  }
}

TEST_F(FinderTest, IsAtTheEndAtOnceWhateverTheErrorAndTellsOfAShortage) {
  constexpr int kLastError = 133;
  for (int error = 1; error <= kLastError; ++error) {
    const FailingCall broken(FailingCall::kOpenDir, "", error);
    const bool is_shortage = error == EMFILE || error == ENFILE || error == ENOMEM;
    const InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
    EXPECT_TRUE(finder.AtEnd()) << error;
    EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
              is_shortage ? Exception("opendir - " + Path(), error) : kNoFailure);
  }
}

TEST_F(FinderTest, DoesNotTakeAnOlderErrorForAFailure) {
  Make({"file"});
  InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
  errno = EIO;
  FindNextFile(finder);
  EXPECT_TRUE(finder.AtEnd());
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }), kNoFailure);
}

TEST(Finder, GoesOnAfterBeingMovedAndLeavesAnEndBehind) {
  const EveryKind world;
  InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_EQ(NamesFrom(std::move(finder)), NamesInOrder(world.Path()));
  EXPECT_TRUE(finder.AtEnd());  // NOLINT(bugprone-use-after-move): tests exactly that
}

TEST_F(FinderTest, ClosesItsDirectoryOnEveryWayOut) {
  Make({"one/file", "other/inside", "a\\b/"});
  InsFileFinder finder = FindFirstFile(Path("one"), kDirectoryOrFile);
  for (const int time : {1, 2}) {
    finder.Close();
    EXPECT_EQ(OpenDescriptors(), descriptors_) << time;
    EXPECT_TRUE(finder.AtEnd()) << time;
    EXPECT_NO_THROW(finder.ThrowIfCutShort()) << time;
  }
  finder = FindFirstFile(Path("one"), kDirectoryOrFile);
  finder = FindFirstFile(Path("other"), kDirectoryOrFile);
  EXPECT_EQ(finder.Name(), "inside");
  // The directory opens, but the normalised path leads to no entry, so there is no type.
  EXPECT_EQ(FailureOf([this] { return FindFirstFile(Path("a\\b"), kFile); }).type,
            "KVLInsException");
  EXPECT_EQ(OpenDescriptors().size(), descriptors_.size() + 1);
}

TEST_F(FinderTest, HandsItsDirectoryToNoOtherProgram) {
  Make({"file"});
  const InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
  std::vector<int> flags;
  for (const std::string& descriptor : OpenDescriptors()) {
    if (!descriptor.ends_with(" -> " + Path())) continue;
    flags.push_back(::fcntl(std::stoi(descriptor), F_GETFD));
  }
  EXPECT_THAT(flags, ElementsAre(FD_CLOEXEC));
}

TEST_F(FinderTest, ReadsAheadUpToALimitAndAgainWhenThatIsUsedUp) {
  Make({"aa", "bb", "cc", "dd", "ee"});
  const auto expected = NamesInOrder(Path());
  for (std::size_t most = 0; most < 40; ++most) {
    SCOPED_TRACE(most);
    InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
    const auto before = OpenDescriptors();
    const std::size_t kept = ReadAhead(finder, most);
    EXPECT_EQ(ReadAhead(finder, most), kept);
    // The system may put the dots anywhere among the names.
    EXPECT_LE(kept, std::min<std::size_t>(most + 2, 4 * 3 + 2 + 3));
    EXPECT_TRUE(kept >= most || OpenDescriptors() != before);
    EXPECT_EQ(NamesFrom(std::move(finder)), expected);
    EXPECT_EQ(NamesFrom(FindFirstFile(Path(), kDirectoryOrFile), most), expected);
  }
}

TEST_F(FinderTest, NamesEntriesExactlyByThePathAsGivenWithQuotes) {
  Make({"a\\b/entry", "a/b/entry/", "''/entry"});
  const auto list = [] {
    std::string lines;
    for (const std::string name : {"a\\b", "a\\b/", "./a\\b", "''"}) {
      for (const std::string& line : Found(FindFirstFileExactly(name, kDirectoryOrFile))) {
        lines += line + "\n";
      }
    }
    throw std::runtime_error(lines);
  };
  EXPECT_EQ(FailureInside(list).text,
            "entry 2 a\\b/entry file\nentry 2 a\\b//entry file\nentry 2 ./a\\b/entry file\n"
            "entry 2 ''/entry file\n");
}

TEST_F(ForEachNameTest, VisitsEveryNameAndBothDots) {
  Make({"a\\b/1", "a\\b/2/", "a\\b/3 -> nowhere", "a/b/decoy"});
  std::vector<std::string> names;
  EXPECT_TRUE(ForEachName(Path("a\\b"), [&](std::string_view name) {
    names.emplace_back(name);
    errno = EIO;  // a failure of the visitor's own
  }));
  EXPECT_THAT(names, testing::UnorderedElementsAre(".", "..", "1", "2", "3"));
}

TEST_F(ForEachNameTest, SucceedsForARemovedDirectoryWhateverFailedBefore) {
  const auto list = [] {
    if (::mkdir("gone", 0755) != 0 || ::chdir("gone") != 0 || ::rmdir("../gone") != 0) {
      throw std::runtime_error("cannot remove the working directory");
    }
    errno = EIO;
    const auto visit = [](std::string_view name) { throw std::runtime_error(std::string(name)); };
    if (!ForEachName(".", visit)) throw std::runtime_error("not whole");
  };
  EXPECT_EQ(FailureInside(list), kNoFailure);
}

TEST_F(ForEachNameTest, IsFalseWhenTheListBreaksOff) {
  Make({"a", "b", "c"});
  const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/3);
  int visited = 0;
  EXPECT_FALSE(ForEachName(Path(), [&](std::string_view) { ++visited; }));
  EXPECT_EQ(visited, 3);
}

TEST(IsEmptyDir, IsFalseWithAnEntryOfAnyKind) {
  const EveryKind world;
  world.Link("link_to_empty", world.MakeDir("empty"));
  EXPECT_TRUE(IsEmptyDir(world.Path("empty")));
  EXPECT_TRUE(IsEmptyDir(world.Path("link_to_empty")));
  for (const Kind& kind : kEveryKind) {
    fs::rename(world.Path(kind.name), world.Path("empty/" + kind.name));
    EXPECT_FALSE(IsEmptyDir(world.Path("empty"))) << kind.name;
    fs::remove_all(world.Path("empty/" + kind.name));
  }
}

}  // namespace
}  // namespace kvl::test
