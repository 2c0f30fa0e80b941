#include "insio/finder.h"

#include "insio/finder_walk.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::FindFirstFile;
using KVLInsIO::FindFirstFileExactly;
using KVLInsIO::FindNextFile;
using KVLInsIO::ForEachName;
using KVLInsIO::InsFileFinder;
using KVLInsIO::IsEmptyDir;
using KVLInsIO::kDirectory;
using KVLInsIO::kDirectoryOrFile;
using KVLInsIO::kFile;
using KVLInsIO::internal::ReadAhead;

/// Everything the finder says of each entry, sorted: "name type full-path", and "file" or
/// "directory".
std::vector<std::string> Found(const std::string& path, int mask) {
  std::vector<std::string> lines;
  InsFileFinder finder = FindFirstFile(path, mask);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    lines.push_back(finder.Name() + " " + std::to_string(finder.Type()) + " " + finder.FullPath() +
                    (finder.IsFile() ? " file" : "") + (finder.IsDirectory() ? " directory" : ""));
  }
  finder.Close();
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::vector<std::string> ExpectedOfEveryKind(const EveryKind& world, int mask) {
  std::vector<std::string> lines;
  for (const Kind& kind : kEveryKind) {
    if ((kind.type & mask) == 0) continue;
    lines.push_back(kind.name + " " + std::to_string(kind.type) + " " + world.Path(kind.name) +
                    ((kind.type & 2) != 0 ? " file" : " directory"));
  }
  return lines;
}

/// The names alone, in the finder's order.
std::vector<std::string> NamesInOrder(const std::string& path) {
  std::vector<std::string> names;
  InsFileFinder finder = FindFirstFile(path, kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) names.push_back(finder.Name());
  return names;
}

std::vector<std::string> NamesInTheSystemsOrder(const std::string& path) {
  std::vector<std::string> names;
  DIR* stream = ::opendir(path.c_str());
  while (const dirent* entry = ::readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(stream);
  return names;
}

TEST(Finder, GivesEntriesOfEveryKind) {
  const EveryKind world;
  EXPECT_EQ(Found(world.Path(), kDirectoryOrFile), ExpectedOfEveryKind(world, 3));
}

TEST(Finder, WithTheMaskOfDirectoriesSkipsFilesAndGivesLinksToDirectories) {
  const EveryKind world;
  EXPECT_EQ(Found(world.Path(), kDirectory), ExpectedOfEveryKind(world, 1));
  EXPECT_THAT(Found(world.Path(), kDirectory),
              ElementsAre("directory 1 " + world.Path("directory") + " directory",
                          "link_to_directory 5 " + world.Path("link_to_directory") + " directory",
                          "link_to_link 5 " + world.Path("link_to_link") + " directory"));
}

TEST(Finder, WithTheMaskOfFilesSkipsDirectoriesAndGivesEveryOtherLink) {
  const EveryKind world;
  EXPECT_EQ(Found(world.Path(), kFile), ExpectedOfEveryKind(world, 2));
  EXPECT_EQ(Found(world.Path(), kFile).size(), 7U);
}

TEST(Finder, GivesNothingBelowItsOwnDirectory) {
  const TestDirectory directory;
  directory.Write("a/b/c", "");
  EXPECT_THAT(NamesInOrder(directory.Path()), ElementsAre("a"));
}

TEST(Finder, KeepsTheOrderOfTheSystem) {
  const TestDirectory directory;
  for (const std::string name : {"z", "a", "m", "B", "1", "10", "2"}) directory.Write(name, "");
  EXPECT_EQ(NamesInOrder(directory.Path()), NamesInTheSystemsOrder(directory.Path()));
}

TEST(Finder, GivesNamesAsTheSystemDoes) {
  const TestDirectory directory;
  for (const std::string& name : kOddNames) directory.Write(name, "");
  std::vector<std::string> names = NamesInOrder(directory.Path()), expected = kOddNames;
  std::sort(names.begin(), names.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names, expected);
}

TEST(Finder, GivesMoreThanAThousandEntriesOnceEach) {
  const TestDirectory directory;
  std::vector<std::string> expected;
  for (int i = 1000; i < 2500; ++i) {
    expected.push_back("file" + std::to_string(i));
    directory.Write(expected.back(), "");
  }
  std::vector<std::string> names = NamesInOrder(directory.Path());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, expected);
}

TEST(Finder, BeginsFullPathsInTheRootDirectoryWithTwoSlashes) {
  int entries = 0;
  InsFileFinder finder = FindFirstFile("/", kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    EXPECT_EQ(finder.FullPath(), "//" + finder.Name());
    ++entries;
  }
  EXPECT_GT(entries, 0);
}

TEST(Finder, NamesEntriesByTheNormalisedDirectory) {
  const TestDirectory directory;
  directory.Write("sub/file", "");
  EXPECT_THAT(Found(directory.Path("./sub//"), kFile),
              ElementsAre("file 2 " + directory.Path("./sub/file") + " file"));
}

TEST(Finder, OpensThePathAsGivenAndAsksForTypesByTheNormalisedOne) {
  const TestDirectory directory;
  directory.Write("a\\b/entry", "");
  directory.MakeDir("a/b/entry");
  EXPECT_THAT(Found(directory.Path("a\\b"), kDirectoryOrFile),
              ElementsAre("entry 1 " + directory.Path("a/b/entry") + " directory"));
}

TEST(Finder, FindsNothingWhereTheQuotedPathIsNoDirectory) {
  const TestDirectory directory;
  directory.Write("file", "");
  EXPECT_TRUE(FindFirstFile("\"" + directory.Path() + "\"", kDirectoryOrFile).AtEnd());
}

TEST(Finder, IsAtTheEndAtOnceWhereNothingCanBeOpened) {
  const EveryKind world;
  world.Directory().MakeDir("empty");
  for (const std::string name : {"missing", "file", "pipe", "dangling_link", "link_to_self",
                                 "link_to_file", "file/x", "empty"}) {
    EXPECT_TRUE(FindFirstFile(world.Path(name), kDirectoryOrFile).AtEnd()) << name;
  }
  EXPECT_TRUE(FindFirstFile(world.Path(TooLongName()), kDirectoryOrFile).AtEnd());
}

TEST(Finder, IsAtTheEndAtOnceInADirectoryWithoutAMatch) {
  const TestDirectory directory;
  directory.Write("file", "");
  EXPECT_TRUE(FindFirstFile(directory.Path(), kDirectory).AtEnd());
}

TEST(Finder, IsAtTheEndAtOnceInADirectoryThatTheUserCannotRead) {
  const TestDirectory directory;
  directory.Write("closed/file", "");
  SetMode(directory.Path("closed"), 0);
  EXPECT_EQ(RunIsolated([&directory] {
              EnterAsOrdinaryUser(directory);
              return FindFirstFile("closed", kDirectoryOrFile).AtEnd() ? 0 : 1;
            }).status,
            0);
}

TEST(Finder, RefusesAPathThatNormalisesToNothing) {
  for (const std::string path : {"", "''", "\"\"", "'"}) {
    const Failure expected = Exception("FindFirstFile - Path is empty");
    EXPECT_EQ(FailureOf([&] { return FindFirstFile(path, kDirectoryOrFile); }), expected) << path;
    EXPECT_EQ(FailureOf([&] { return IsEmptyDir(path); }), expected) << path;
  }
}

TEST(Finder, FailsOnAnEntryRemovedMeanwhile) {
  const TestDirectory directory;
  directory.Write("a", "");
  directory.Write("b", "");
  InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  const std::string other = directory.Path(finder.Name() == "a" ? "b" : "a");
  std::filesystem::remove(other);
  EXPECT_EQ(FailureOf([&] { FindNextFile(finder); }), Exception("lstat - " + other, ENOENT));
}

TEST(Finder, EndsEarlyWhenAListIsBrokenOffAndTellsWhenAsked) {
  const TestDirectory directory;
  for (const std::string name : {"a", "b", "c"}) directory.Write(name, "");
  const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/4);  // "." and ".." included
  InsFileFinder finder = FindFirstFile(directory.Path() + "/", kFile);
  int entries = 0;
  for (; !finder.AtEnd(); FindNextFile(finder)) ++entries;
  EXPECT_EQ(entries, 2);
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
            Exception("readdir - " + directory.Path(), EIO));
}

TEST(Finder, WhoseListIsBrokenOffAtOnceHasNoEntry) {
  const TestDirectory directory;
  directory.Write("a", "");
  const FailingCall broken(FailingCall::kReadDir, EIO);
  EXPECT_TRUE(IsEmptyDir(directory.Path()));
}

TEST(Finder, TellsThatThereWasNoDescriptorLeftToOpenTheDirectory) {
  const TestDirectory directory;
  EXPECT_EQ(IsolatedFailureOf([&] {
              LimitFurtherDescriptors(0);
              FindFirstFile(directory.Path(), kFile).ThrowIfCutShort();
            }),
            Exception("opendir - " + directory.Path(), EMFILE));
}

TEST(Finder, IsNotCutShortByAWholeListOrADirectoryThatCannotBeOpened) {
  const TestDirectory directory;
  for (const std::string& path :
       {directory.MakeDir("empty"), directory.Path("missing"), directory.Write("file", "")}) {
    EXPECT_EQ(FailureOf([&] { FindFirstFile(path, kFile).ThrowIfCutShort(); }), kNoFailure) << path;
  }
}

TEST(Finder, DoesNotTakeAnOlderErrorForAFailure) {
  const TestDirectory directory;
  directory.Write("file", "");
  InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  errno = EIO;
  EXPECT_EQ(FailureOf([&] { FindNextFile(finder); }), kNoFailure);
  EXPECT_TRUE(finder.AtEnd());
}

TEST(Finder, GoesOnAfterBeingMoved) {
  const TestDirectory directory;
  directory.Write("a", "");
  directory.Write("b", "");
  InsFileFinder first = FindFirstFile(directory.Path(), kDirectoryOrFile);
  std::vector<std::string> names = {first.Name()};
  InsFileFinder second = std::move(first);
  FindNextFile(second);
  names.push_back(second.Name());
  FindNextFile(second);
  EXPECT_TRUE(second.AtEnd());
  EXPECT_THAT(names, testing::UnorderedElementsAre("a", "b"));
}

TEST(Finder, KeepsItsDirectoryOpenOnlyUntilItIsClosed) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  finder.Close();
  EXPECT_EQ(OpenDescriptors(), before);
  finder.Close();
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(Finder, IsAtTheEndOnceItIsClosedOrMovedFrom) {
  const EveryKind world;
  InsFileFinder closed = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_FALSE(closed.AtEnd());
  closed.Close();
  EXPECT_TRUE(closed.AtEnd());
  EXPECT_NO_THROW(closed.ThrowIfCutShort());
  closed = FindFirstFile(world.Path(), kDirectoryOrFile);
  EXPECT_FALSE(closed.AtEnd());
  const InsFileFinder taken_over = std::move(closed);
  EXPECT_FALSE(taken_over.AtEnd());
  EXPECT_TRUE(closed.AtEnd());  // NOLINT(bugprone-use-after-move): what is left behind is the claim
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

TEST(Finder, HandsItsDirectoryToNoOtherProgram) {
  const TestDirectory directory;
  directory.Write("file", "");
  const InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  int found = 0;
  for (const std::string& descriptor : OpenDescriptors()) {
    if (!descriptor.ends_with(" -> " + directory.Path())) continue;
    EXPECT_EQ(::fcntl(std::stoi(descriptor), F_GETFD), FD_CLOEXEC);
    ++found;
  }
  EXPECT_EQ(found, 1);
}

/// The names from the current entry on, as they come.
std::vector<std::string> RestOfNames(InsFileFinder& finder) {
  std::vector<std::string> names;
  for (; !finder.AtEnd(); FindNextFile(finder)) names.push_back(finder.Name());
  return names;
}

constexpr std::size_t kPlenty = 1'000'000;  // bytes of names

TEST(ReadAhead, ChangesNothingOfWhatTheFinderGives) {
  const TestDirectory directory;
  for (const std::string& name : kOddNames) directory.Write(name, "");
  const auto expected = NamesInTheSystemsOrder(directory.Path());
  for (std::size_t at = 0; at < expected.size(); ++at) {
    InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
    for (std::size_t i = 0; i < at; ++i) FindNextFile(finder);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(finder.FullPath(), directory.Path(expected[at]));
    EXPECT_EQ(finder.Type(), kFile);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(RestOfNames(finder),
              std::vector(expected.begin() + std::ptrdiff_t(at), expected.end()));
  }
}

TEST(ReadAhead, KeepsTheMask) {
  const EveryKind world;
  for (const int mask : {kDirectory, kFile}) {
    InsFileFinder plain = FindFirstFile(world.Path(), mask);
    InsFileFinder ahead = FindFirstFile(world.Path(), mask);
    ReadAhead(ahead, kPlenty);
    EXPECT_EQ(RestOfNames(ahead), RestOfNames(plain));
  }
}

TEST(ReadAhead, ClosesTheDirectory) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
  ReadAhead(finder, kPlenty);
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_FALSE(finder.AtEnd());
}

TEST(ReadAhead, StopsAtTheNumberOfBytesAndGoesOnFromTheOpenDirectory) {
  const TestDirectory directory;
  for (const std::string name : {"aa", "bb", "cc", "dd", "ee"}) directory.Write(name, "");
  const auto expected = NamesInTheSystemsOrder(directory.Path());
  for (std::size_t most = 0; most < 40; ++most) {
    InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
    const auto before = OpenDescriptors();
    const std::size_t kept = ReadAhead(finder, most);
    EXPECT_EQ(ReadAhead(finder, most), kept);
    // The dots may be among the names, wherever the system puts them.
    EXPECT_LE(kept, std::min<std::size_t>(most + 2, 4 * 3 + 2 + 3));
    EXPECT_TRUE(kept >= most || OpenDescriptors() != before) << most;
    EXPECT_EQ(RestOfNames(finder), expected) << most;
  }
}

TEST(ReadAhead, ReadsOnWhenItsNamesAreUsedUp) {
  const TestDirectory directory;
  for (const std::string name : {"aa", "bb", "cc", "dd", "ee"}) directory.Write(name, "");
  const auto expected = NamesInTheSystemsOrder(directory.Path());
  std::vector<std::string> names;
  InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    ReadAhead(finder, 1);
    names.push_back(finder.Name());
  }
  EXPECT_EQ(names, expected);
}

TEST(ReadAhead, AtTheEndDoesNothing) {
  const TestDirectory directory;
  for (const std::string name : {".", "missing"}) {
    InsFileFinder finder = FindFirstFile(directory.Path(name), kDirectoryOrFile);
    ReadAhead(finder, kPlenty);
    EXPECT_TRUE(finder.AtEnd()) << name;
  }
}

TEST(ReadAhead, OfAListThatIsBrokenOffEndsEarlyAndTellsWhenAsked) {
  const TestDirectory directory;
  for (const std::string name : {"a", "b", "c"}) directory.Write(name, "");
  InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  const FailingCall broken(FailingCall::kReadDir, EIO);
  ReadAhead(finder, kPlenty);
  FindNextFile(finder);
  EXPECT_TRUE(finder.AtEnd());
  EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }),
            Exception("readdir - " + directory.Path(), EIO));
}

TEST(ReadAhead, LeavesEntriesToBeAskedForWhenTheirTurnComes) {
  const TestDirectory directory;
  directory.Write("a", "");
  directory.Write("b", "");
  InsFileFinder finder = FindFirstFile(directory.Path(), kDirectoryOrFile);
  ReadAhead(finder, kPlenty);
  const std::string other = directory.Path(finder.Name() == "a" ? "b" : "a");
  std::filesystem::remove(other);
  EXPECT_EQ(FailureOf([&] { FindNextFile(finder); }), Exception("lstat - " + other, ENOENT));
}

TEST(FindFirstFileExactly, GivesALinkTheTypeThatItHasByItsWholePath) {
  const TestDirectory directory;
  for (int step = 0; step < 50; ++step) {
    directory.Link(std::to_string(step) + "/next", "../" + std::to_string(step + 1));
  }
  directory.MakeDir("50");
  int links_to_files = 0;
  std::string path = directory.Path("0");
  for (int step = 0; step < 50; ++step, path += "/next") {
    const auto finder = FindFirstFileExactly(path, kDirectoryOrFile);
    if (finder.AtEnd()) break;
    EXPECT_EQ(finder.Type(), KVLInsIO::GetType(finder.FullPath())) << finder.FullPath();
    if (finder.IsFile()) ++links_to_files;
  }
  EXPECT_EQ(links_to_files, 1) << "the one behind which nothing can be opened";
}

TEST(FindFirstFileExactly, NamesEntriesByThePathAsGiven) {
  const TestDirectory directory;
  directory.Write("a\\b/entry", "");
  directory.MakeDir("a/b/entry");
  for (const std::string name : {"a\\b", "a\\b/", "./a\\b"}) {
    InsFileFinder finder = FindFirstFileExactly(directory.Path(name), kDirectoryOrFile);
    EXPECT_EQ(finder.FullPath(), directory.Path(name) + "/entry");
    EXPECT_EQ(finder.Type(), kFile);
    EXPECT_THAT(RestOfNames(finder), ElementsAre("entry"));
  }
}

TEST(FindFirstFileExactly, TakesQuotesForPartsOfAName) {
  const TestDirectory directory;
  directory.Write("''/entry", "");
  EXPECT_EQ(IsolatedFailureOf([&] {
              Enter(directory);
              const auto finder = FindFirstFileExactly("''", kFile);
              if (finder.FullPath() != "''/entry") throw std::runtime_error(finder.FullPath());
            }),
            kNoFailure);
}

TEST(FindFirstFileExactly, IsAtTheEndAtOnceWhereNothingCanBeOpened) {
  const EveryKind world;
  for (const std::string name : {"missing", "file", "dangling_link", "file/x"}) {
    EXPECT_TRUE(FindFirstFileExactly(world.Path(name), kDirectoryOrFile).AtEnd()) << name;
  }
}

TEST(FindFirstFileExactly, RefusesAnEmptyPathAndReportsABrokenDirectory) {
  const TestDirectory directory;
  EXPECT_EQ(FailureOf([] { return FindFirstFileExactly("", kFile); }),
            Exception("FindFirstFile - Path is empty"));
  const FailingCall broken(FailingCall::kReadDir, EIO);
  EXPECT_EQ(
      FailureOf([&] { FindFirstFileExactly(directory.Path() + "/", kFile).ThrowIfCutShort(); }),
      Exception("readdir - " + directory.Path() + "/", EIO));
}

TEST(ForEachName, VisitsEveryNameOnceAndBothDots) {
  const EveryKind world;
  std::vector<std::string> names, expected = NamesInTheSystemsOrder(world.Path());
  EXPECT_TRUE(ForEachName(world.Path(), [&](std::string_view name) { names.emplace_back(name); }));
  expected.insert(expected.end(), {".", ".."});
  EXPECT_THAT(names, testing::UnorderedElementsAreArray(expected));
  std::erase_if(names, [](const std::string& name) { return name == "." || name == ".."; });
  expected.resize(expected.size() - 2);
  EXPECT_EQ(names, expected);
}

TEST(ForEachName, TakesThePathAsItStands) {
  const TestDirectory directory;
  directory.Write("a\\b/meant", "");
  directory.Write("a/b/decoy", "");
  int meant = 0;
  EXPECT_TRUE(ForEachName(directory.Path("a\\b"),
                          [&](std::string_view name) { meant += name == "meant" ? 1 : 0; }));
  EXPECT_EQ(meant, 1);
}

TEST(ForEachName, IsFalseWhereNothingCanBeOpened) {
  const EveryKind world;
  const auto visit = [](std::string_view name) { ADD_FAILURE() << name; };
  EXPECT_FALSE(ForEachName("", visit));
  for (const std::string name : {"missing", "file", "dangling_link", "pipe"}) {
    EXPECT_FALSE(ForEachName(world.Path(name), visit)) << name;
  }
}

TEST(ForEachName, OfAWorkingDirectoryThatIsGoneIsWholeAndEmptyWhateverFailedBefore) {
  const TestDirectory directory;
  const Outcome outcome = RunIsolated([&] {
    Enter(directory);
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

TEST(IsEmptyDir, IsTrueWithoutAnEntry) {
  const EveryKind world;
  world.Directory().MakeDir("empty");
  world.Directory().Link("link_to_empty", "empty");
  for (const std::string name : {"empty", "link_to_empty", "missing", "file", "dangling_link"}) {
    EXPECT_TRUE(IsEmptyDir(world.Path(name))) << name;
  }
}

TEST(IsEmptyDir, IsFalseWithAnEntryOfAnyKind) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    const TestDirectory directory;
    std::filesystem::rename(world.Path(kind.name), directory.Path(kind.name));
    EXPECT_FALSE(IsEmptyDir(directory.Path())) << kind.name;
  }
}

TEST(IsEmptyDir, ClosesTheDirectory) {
  const EveryKind world;
  const auto before = OpenDescriptors();
  EXPECT_FALSE(IsEmptyDir(world.Path()));
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace kvl::test
