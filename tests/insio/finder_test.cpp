#include "insio/finder.h"

#include "insio/finder_walk.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/insio/tree_test.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using KVLInsIO::internal::ReadAhead;

using FinderTest = TreeTest;
using ReadAheadTest = TreeTest;
using FindFirstFileExactlyTest = TreeTest;
using ForEachNameTest = TreeTest;

constexpr std::size_t kPlenty = 1'000'000;  // bytes of names

/// Everything the finder says of each entry, sorted: "name type full-path", and "file" or
/// "directory".
std::vector<std::string> Found(InsFileFinder finder) {
  std::vector<std::string> lines;
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    lines.push_back(finder.Name() + " " + std::to_string(finder.Type()) + " " + finder.FullPath() +
                    (finder.IsFile() ? " file" : "") + (finder.IsDirectory() ? " directory" : ""));
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// The names from the current entry on, as they come.
std::vector<std::string> NamesFrom(InsFileFinder finder) {
  std::vector<std::string> names;
  for (; !finder.AtEnd(); FindNextFile(finder)) names.push_back(finder.Name());
  return names;
}

/// The names in the order of the system, both dots included.
std::vector<std::string> NamesWithDots(const std::string& path) {
  std::vector<std::string> names;
  DIR* stream = ::opendir(path.c_str());
  while (const dirent* entry = ::readdir(stream)) names.emplace_back(entry->d_name);
  ::closedir(stream);
  return names;
}

std::vector<std::string> NamesOf(const std::string& path) {
  std::vector<std::string> names = NamesWithDots(path);
  std::erase_if(names, [](const std::string& name) { return name == "." || name == ".."; });
  return names;
}

TEST(Finder, GivesTheEntriesOfEveryKindThatTheMaskHas) {
  const EveryKind world;
  const std::vector<std::pair<int, std::string>> rows = {
      {kDirectoryOrFile, "everything"},
      {kDirectory, "directories and links to them, no files"},
      {kFile, "files and every other link, no directories"}};
  for (const auto& [mask, what] : rows) {
    std::vector<std::string> expected;
    for (const Kind& kind : kEveryKind) {
      if ((kind.type & mask) == 0) continue;
      expected.push_back(kind.name + " " + std::to_string(kind.type) + " " + world.Path(kind.name) +
                         ((kind.type & 2) != 0 ? " file" : " directory"));
    }
    EXPECT_EQ(Found(FindFirstFile(world.Path(), mask)), expected) << what;
  }
}

TEST_F(FinderTest, GivesEachNameOnceAsTheSystemDoesAndInItsOrder) {
  for (const std::string& name : kOddNames) directory_.Write(name, "");
  for (int i = 0; i < 1500; ++i) directory_.Write(std::to_string(i), "");
  const auto names = NamesFrom(FindFirstFile(directory_.Path(), kDirectoryOrFile));
  EXPECT_EQ(names, NamesOf(directory_.Path()));
  EXPECT_EQ(std::set(names.begin(), names.end()).size(), 1500 + kOddNames.size());
}

TEST(Finder, BeginsFullPathsInTheRootDirectoryWithTwoSlashes) {
  int entries = 0;
  for (InsFileFinder finder = FindFirstFile("/", kDirectoryOrFile); !finder.AtEnd(); ++entries) {
    EXPECT_EQ(finder.FullPath(), "//" + finder.Name());
    FindNextFile(finder);
  }
  EXPECT_GT(entries, 0);
}

TEST_F(FinderTest, NamesEntriesByTheNormalisedDirectory) {
  Make({"sub/file"});
  EXPECT_THAT(Found(FindFirstFile(Path("./sub//"), kFile)),
              ElementsAre("file 2 " + Path("./sub/file") + " file"));
}

TEST_F(FinderTest, OpensThePathAsGivenAndAsksForTypesByTheNormalisedOne) {
  Make({"a\\b/entry", "a/b/entry/"});
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
    EXPECT_THAT(NamesFrom(FindFirstFile(path, kDirectoryOrFile)), IsEmpty());
    EXPECT_THAT(NamesFrom(FindFirstFileExactly(path, kDirectoryOrFile)), IsEmpty());
    EXPECT_EQ(FailureOf([&] { FindFirstFile(path, kFile).ThrowIfCutShort(); }), kNoFailure);
    EXPECT_TRUE(IsEmptyDir(path));
    EXPECT_FALSE(ForEachName(path, [](std::string_view name) { ADD_FAILURE() << name; }));
  }
}

TEST_F(FinderTest, IsAtTheEndAtOnceInADirectoryWithoutAMatch) {
  Make({"empty/", "link -> empty", "full/file"});
  for (const auto& [name, mask] : std::vector<std::pair<std::string, int>>{
           {"empty", kDirectoryOrFile}, {"link", kDirectoryOrFile}, {"full", kDirectory}}) {
    const InsFileFinder finder = FindFirstFile(Path(name), mask);
    EXPECT_TRUE(finder.AtEnd()) << name;
    EXPECT_NO_THROW(finder.ThrowIfCutShort()) << name;
    EXPECT_EQ(IsEmptyDir(Path(name)), name != "full");
  }
}

TEST_F(FinderTest, IsAtTheEndAtOnceInADirectoryThatTheUserCannotRead) {
  Make({"closed/file"});
  SetMode(Path("closed"), 0);
  const auto look = [] {
    const InsFileFinder finder = FindFirstFile("closed", kDirectoryOrFile);
    if (!finder.AtEnd()) throw std::runtime_error(finder.Name());
    finder.ThrowIfCutShort();
  };
  EXPECT_EQ(OrdinaryUsersFailureOf(directory_, look), kNoFailure);
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

TEST_F(FinderTest, FailsOnAnEntryRemovedMeanwhileThoughItsNameIsReadAlready) {
  for (const std::size_t ahead : {std::size_t{0}, kPlenty}) {
    Make({"a", "b"});
    InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
    ReadAhead(finder, ahead);
    const std::string other = Path(finder.Name() == "a" ? "b" : "a");
    fs::remove(other);
    EXPECT_EQ(FailureOf([&] { FindNextFile(finder); }), Exception("lstat - " + other, ENOENT));
  }
}

TEST_F(FinderTest, EndsEarlyWhenAListIsBrokenOffAndTellsWhenAsked) {
  Make({"a", "b", "c"});
  const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/4);  // "." and ".." included
  InsFileFinder finder = FindFirstFile(Path(""), kFile);
  int entries = 0;
  for (; !finder.AtEnd(); FindNextFile(finder)) ++entries;
  EXPECT_EQ(entries, 2);
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
            Exception("readdir - " + directory_.Path(), EIO));
}

TEST_F(FinderTest, WhoseListIsBrokenOffAtOnceHasNoEntryAndTellsWhenAsked) {
  Make({"a"});
  const FailingCall broken(FailingCall::kReadDir, EIO);
  EXPECT_TRUE(IsEmptyDir(directory_.Path()));
  EXPECT_EQ(FailureOf([this] { FindFirstFileExactly(Path(""), kFile).ThrowIfCutShort(); }),
            Exception("readdir - " + Path(""), EIO));
}

TEST_F(FinderTest, TellsThatThereWasNoDescriptorLeftToOpenTheDirectory) {
  EXPECT_EQ(IsolatedFailureOf([this] {
              LimitFurtherDescriptors(0);
              FindFirstFile(directory_.Path(), kFile).ThrowIfCutShort();
            }),
            Exception("opendir - " + directory_.Path(), EMFILE));
}

TEST_F(FinderTest, DoesNotTakeAnOlderErrorForAFailure) {
  Make({"file"});
  InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
  errno = EIO;
  FindNextFile(finder);
  EXPECT_TRUE(finder.AtEnd());
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }), kNoFailure);
}

TEST(Finder, GoesOnAfterBeingMovedAndLeavesAnEndBehind) {
  const EveryKind world;
  InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_EQ(NamesFrom(std::move(finder)), NamesOf(world.Path()));
  EXPECT_TRUE(finder.AtEnd());  // NOLINT(bugprone-use-after-move): what is left behind is the claim
}

TEST(Finder, KeepsItsDirectoryOpenOnlyUntilItIsClosed) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  for (const int time : {1, 2}) {
    finder.Close();
    EXPECT_EQ(OpenDescriptors(), before) << time;
    EXPECT_TRUE(finder.AtEnd()) << time;
    EXPECT_NO_THROW(finder.ThrowIfCutShort()) << time;
  }
  finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_FALSE(finder.AtEnd());
}

TEST(Finder, ClosesItsDirectoryWhenItIsDestroyedReplacedOrFails) {
  const EveryKind world;
  world.Directory().MakeDir("a\\b");
  const auto before = OpenDescriptors();
  {
    InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
    finder = FindFirstFile(world.Path("directory"), kDirectoryOrFile);
    EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  }
  EXPECT_EQ(OpenDescriptors(), before);
  // Opened, but no type can be found out below the normalised path.
  EXPECT_EQ(FailureOf([&] { return FindFirstFile(world.Path("a\\b"), kFile); }).type,
            "KVLInsException");
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FinderTest, HandsItsDirectoryToNoOtherProgram) {
  Make({"file"});
  const InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
  std::vector<int> flags;
  for (const std::string& descriptor : OpenDescriptors()) {
    if (!descriptor.ends_with(" -> " + directory_.Path())) continue;
    flags.push_back(::fcntl(std::stoi(descriptor), F_GETFD));
  }
  EXPECT_THAT(flags, ElementsAre(FD_CLOEXEC));
}

TEST_F(ReadAheadTest, ChangesNothingOfWhatTheFinderGives) {
  for (const std::string& name : kOddNames) directory_.Write(name, "");
  const auto expected = NamesOf(directory_.Path());
  for (std::size_t at = 0; at < expected.size(); ++at) {
    InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
    for (std::size_t i = 0; i < at; ++i) FindNextFile(finder);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(finder.FullPath(), Path(expected[at]));
    EXPECT_EQ(finder.Type(), kFile);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(NamesFrom(std::move(finder)),
              std::vector(expected.begin() + std::ptrdiff_t(at), expected.end()));
  }
}

TEST(ReadAhead, ClosesTheDirectoryAndKeepsTheMask) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  for (const int mask : {kDirectory, kFile}) {
    InsFileFinder finder = FindFirstFile(world.Path(), mask);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(Found(std::move(finder)), Found(FindFirstFile(world.Path(), mask)));
  }
}

TEST_F(ReadAheadTest, StopsAtTheNumberOfBytesAndGoesOnFromTheOpenDirectory) {
  Make({"aa", "bb", "cc", "dd", "ee"});
  const auto expected = NamesOf(directory_.Path());
  for (std::size_t most = 0; most < 40; ++most) {
    SCOPED_TRACE(most);
    InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
    const auto before = OpenDescriptors();
    const std::size_t kept = ReadAhead(finder, most);
    EXPECT_EQ(ReadAhead(finder, most), kept);
    // The dots may be among the names, wherever the system puts them.
    EXPECT_LE(kept, std::min<std::size_t>(most + 2, 4 * 3 + 2 + 3));
    EXPECT_TRUE(kept >= most || OpenDescriptors() != before);
    EXPECT_EQ(NamesFrom(std::move(finder)), expected);
  }
}

TEST_F(ReadAheadTest, ReadsOnWhenItsNamesAreUsedUp) {
  Make({"aa", "bb", "cc", "dd", "ee"});
  std::vector<std::string> names;
  InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    ReadAhead(finder, 1);
    names.push_back(finder.Name());
  }
  EXPECT_EQ(names, NamesOf(directory_.Path()));
}

TEST_F(ReadAheadTest, AtTheEndDoesNothing) {
  for (const std::string name : {".", "missing"}) {
    InsFileFinder finder = FindFirstFile(Path(name), kDirectoryOrFile);
    ReadAhead(finder, kPlenty);
    EXPECT_TRUE(finder.AtEnd()) << name;
  }
}

TEST_F(ReadAheadTest, OfAListThatIsBrokenOffEndsEarlyAndTellsWhenAsked) {
  Make({"a", "b", "c"});
  InsFileFinder finder = FindFirstFile(directory_.Path(), kDirectoryOrFile);
  const FailingCall broken(FailingCall::kReadDir, EIO);
  ReadAhead(finder, kPlenty);
  FindNextFile(finder);
  EXPECT_TRUE(finder.AtEnd());
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
            Exception("readdir - " + directory_.Path(), EIO));
}

TEST_F(FindFirstFileExactlyTest, GivesALinkTheTypeThatItHasByItsWholePath) {
  for (int step = 0; step < 50; ++step) {
    directory_.Link(std::to_string(step) + "/next", "../" + std::to_string(step + 1));
  }
  directory_.MakeDir("50");
  int links_to_files = 0;
  std::string path = Path("0");
  for (int step = 0; step < 50; ++step, path += "/next") {
    const auto finder = FindFirstFileExactly(path, kDirectoryOrFile);
    if (finder.AtEnd()) break;
    EXPECT_EQ(finder.Type(), GetType(finder.FullPath())) << finder.FullPath();
    if (finder.IsFile()) ++links_to_files;
  }
  EXPECT_EQ(links_to_files, 1) << "the one behind which nothing can be opened";
}

TEST_F(FindFirstFileExactlyTest, NamesEntriesByThePathAsGivenQuotesIncluded) {
  Make({"a\\b/entry", "a/b/entry/", "''/entry"});
  const Outcome outcome = RunIsolated([this] {
    Enter(directory_);
    for (const std::string name : {"a\\b", "a\\b/", "./a\\b", "''"}) {
      for (const std::string& line : Found(FindFirstFileExactly(name, kDirectoryOrFile))) {
        std::cout << line << "\n";
      }
    }
    return 0;
  });
  EXPECT_EQ(outcome.out,
            "entry 2 a\\b/entry file\nentry 2 a\\b//entry file\nentry 2 ./a\\b/entry file\n"
            "entry 2 ''/entry file\n");
}

TEST(ForEachName, VisitsEveryNameOnceAndBothDots) {
  const EveryKind world;
  std::vector<std::string> names;
  EXPECT_TRUE(ForEachName(world.Path(), [&](std::string_view name) { names.emplace_back(name); }));
  EXPECT_EQ(names, NamesWithDots(world.Path()));
}

TEST_F(ForEachNameTest, TakesThePathAsItStands) {
  Make({"a\\b/meant", "a/b/decoy"});
  std::vector<std::string> names;
  EXPECT_TRUE(ForEachName(Path("a\\b"), [&](std::string_view name) { names.emplace_back(name); }));
  EXPECT_THAT(names, testing::UnorderedElementsAre(".", "..", "meant"));
}

TEST_F(ForEachNameTest, OfAWorkingDirectoryThatIsGoneIsWholeWhateverFailedBefore) {
  const Outcome outcome = RunIsolated([this] {
    Enter(directory_);
    if (::mkdir("gone", 0755) != 0 || ::chdir("gone") != 0 || ::rmdir("../gone") != 0) return 2;
    int visited = 0;
    errno = EIO;
    const bool is_whole = ForEachName(".", [&](std::string_view) { ++visited; });
    return is_whole && visited == 0 ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(ForEachName, IsFalseWhenTheListBreaksOff) {
  const EveryKind world;
  const auto descriptors = OpenDescriptors();
  const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/3);
  int visited = 0;
  EXPECT_FALSE(ForEachName(world.Path(), [&](std::string_view) { ++visited; }));
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(IsEmptyDir, IsFalseWithAnEntryOfAnyKindAndClosesTheDirectory) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  for (const Kind& kind : kEveryKind) {
    const TestDirectory directory;
    fs::rename(world.Path(kind.name), directory.Path(kind.name));
    EXPECT_FALSE(IsEmptyDir(directory.Path())) << kind.name;
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace kvl::test
