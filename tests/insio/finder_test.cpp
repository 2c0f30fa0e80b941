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
using ReadAheadTest = InOwnDirectory;
using FindExactly = InOwnDirectory;
using ForEachNameTest = InOwnDirectory;

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

/// The names from the current entry on, as they come. At each, so many bytes are read ahead.
std::vector<std::string> NamesFrom(InsFileFinder finder, std::size_t ahead = 0) {
  std::vector<std::string> names;
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    ReadAhead(finder, ahead);
    names.push_back(finder.Name());
  }
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
  const auto descriptors = OpenDescriptors();
  for (const auto& [mask, what] : rows) {
    std::vector<std::string> expected;
    for (const Kind& kind : kEveryKind) {
      if ((kind.type & mask) == 0) continue;
      expected.push_back(kind.name + " " + std::to_string(kind.type) + " " + world.Path(kind.name) +
                         ((kind.type & 2) != 0 ? " file" : " directory"));
    }
    EXPECT_EQ(Found(FindFirstFile(world.Path(), mask)), expected) << what;
    InsFileFinder ahead = FindFirstFile(world.Path(), mask);
    ReadAhead(ahead, kPlenty);
    EXPECT_EQ(OpenDescriptors(), descriptors) << "all is read, so the directory is closed";
    EXPECT_EQ(Found(std::move(ahead)), expected) << what;
  }
}

TEST_F(FinderTest, GivesEachNameOnceAsTheSystemDoesAndInItsOrder) {
  for (const std::string& name : kOddNames) Write(name, "");
  for (int i = 0; i < 1500; ++i) Write(std::to_string(i), "");
  const auto names = NamesFrom(FindFirstFile(Path(), kDirectoryOrFile));
  EXPECT_EQ(names, NamesOf(Path()));
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

TEST_F(FinderTest, IsAtTheEndAtOnceInADirectoryThatTheUserCannotRead) {
  Make({"closed/file"});
  SetMode(Path("closed"), 0);
  const auto look = [] {
    const InsFileFinder finder = FindFirstFile("closed", kDirectoryOrFile);
    if (!finder.AtEnd()) throw std::runtime_error(finder.Name());
    finder.ThrowIfCutShort();
  };
  EXPECT_EQ(FailureAsOrdinaryUser(look), kNoFailure);
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

TEST_F(FinderTest, EndsEarlyWhenAListIsBrokenOffAndTellsWhenAsked) {
  Make({"a", "b", "c"});
  for (const std::size_t ahead : {std::size_t{0}, kPlenty}) {
    const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/4);  // "." and ".." included
    InsFileFinder finder = FindFirstFile(Path(""), kFile);
    ReadAhead(finder, ahead);
    int entries = 0;
    for (; !finder.AtEnd(); FindNextFile(finder)) ++entries;
    EXPECT_EQ(entries, 2);
    EXPECT_EQ(FailureOf([&] { finder.ThrowIfCutShort(); }), Exception("readdir - " + Path(), EIO));
    EXPECT_TRUE(IsEmptyDir(Path()));
    EXPECT_EQ(FailureOf([this] { FindFirstFileExactly(Path(""), kFile).ThrowIfCutShort(); }),
              Exception("readdir - " + Path(""), EIO));
  }
}

TEST_F(FinderTest, TellsThatThereWasNoDescriptorLeft) {
  const auto list = [this] {
    LimitFurtherDescriptors(0);
    FindFirstFile(Path(), kFile).ThrowIfCutShort();
  };
  EXPECT_EQ(FailureInside(list), Exception("opendir - " + Path(), EMFILE));
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
  EXPECT_EQ(NamesFrom(std::move(finder)), NamesOf(world.Path()));
  EXPECT_TRUE(finder.AtEnd());  // NOLINT(bugprone-use-after-move): what is left behind is the claim
}

TEST(Finder, ClosesItsDirectoryOnEveryWayOut) {
  const EveryKind world;
  world.Directory().MakeDir("a\\b");
  const auto before = OpenDescriptors();
  {
    InsFileFinder finder = FindFirstFile(world.Path(), kDirectoryOrFile);
    for (const int time : {1, 2}) {
      finder.Close();
      EXPECT_EQ(OpenDescriptors(), before) << time;
      EXPECT_TRUE(finder.AtEnd()) << time;
      EXPECT_NO_THROW(finder.ThrowIfCutShort()) << time;
    }
    finder = FindFirstFile(world.Path(), kDirectoryOrFile);
    finder = FindFirstFile(world.Path("directory"), kDirectoryOrFile);
    EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
    EXPECT_EQ(finder.Name(), "inside");
  }
  EXPECT_EQ(OpenDescriptors(), before);
  // Opened, but no type can be found out below the normalised path.
  EXPECT_EQ(FailureOf([&] { return FindFirstFile(world.Path("a\\b"), kFile); }).type,
            "KVLInsException");
  EXPECT_EQ(OpenDescriptors(), before);
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

TEST_F(ReadAheadTest, ChangesNothingOfWhatTheFinderGives) {
  for (const std::string& name : kOddNames) Write(name, "");
  const auto expected = NamesOf(Path());
  for (std::size_t at = 0; at < expected.size(); ++at) {
    InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
    for (std::size_t i = 0; i < at; ++i) FindNextFile(finder);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(finder.FullPath(), Path(expected[at]));
    EXPECT_EQ(finder.Type(), kFile);
    ReadAhead(finder, kPlenty);
    EXPECT_EQ(NamesFrom(std::move(finder)),
              std::vector(expected.begin() + std::ptrdiff_t(at), expected.end()));
  }
}

TEST_F(ReadAheadTest, StopsAtItsMostAndReadsOnWhenThatIsUsedUp) {
  Make({"aa", "bb", "cc", "dd", "ee"});
  const auto expected = NamesOf(Path());
  for (std::size_t most = 0; most < 40; ++most) {
    SCOPED_TRACE(most);
    InsFileFinder finder = FindFirstFile(Path(), kDirectoryOrFile);
    const auto before = OpenDescriptors();
    const std::size_t kept = ReadAhead(finder, most);
    EXPECT_EQ(ReadAhead(finder, most), kept);
    // The dots may be among the names, wherever the system puts them.
    EXPECT_LE(kept, std::min<std::size_t>(most + 2, 4 * 3 + 2 + 3));
    EXPECT_TRUE(kept >= most || OpenDescriptors() != before);
    EXPECT_EQ(NamesFrom(std::move(finder)), expected);
    EXPECT_EQ(NamesFrom(FindFirstFile(Path(), kDirectoryOrFile), most), expected);
  }
}

TEST_F(FindExactly, GivesALinkTheTypeThatItHasByItsWholePath) {
  for (int step = 0; step < 50; ++step) {
    Link(std::to_string(step) + "/next", "../" + std::to_string(step + 1));
  }
  MakeDir("50");
  const auto is_exact = [this] {
    int links_to_files = 0;
    std::string path = Path("0");
    for (int step = 0; step < 50; ++step, path += "/next") {
      const auto finder = FindFirstFileExactly(path, kDirectoryOrFile);
      if (finder.AtEnd()) break;
      if (finder.Type() != GetType(finder.FullPath())) return false;
      if (finder.IsFile()) ++links_to_files;
    }
    return links_to_files == 1;  // the one behind which nothing can be opened
  };
  // A system that is disturbed counts the links of a path twice, so one walk of many has to do.
  bool was_exact = false;
  for (int walk = 0; walk < 100 && !was_exact; ++walk) was_exact = is_exact();
  EXPECT_TRUE(was_exact);
}

TEST_F(FindExactly, NamesEntriesByThePathAsGivenWithQuotes) {
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
  const auto expected = NamesWithDots(Path("a\\b"));
  std::vector<std::string> names;
  EXPECT_TRUE(ForEachName(Path("a\\b"), [&](std::string_view name) { names.emplace_back(name); }));
  EXPECT_EQ(names, expected);
}

TEST_F(ForEachNameTest, OfAVanishedDirectoryIsWholeWhateverFailedBefore) {
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

TEST(ForEachName, IsFalseWhenTheListBreaksOff) {
  const EveryKind world;
  const auto descriptors = OpenDescriptors();
  const FailingCall broken(FailingCall::kReadDir, EIO, /*after=*/3);
  int visited = 0;
  EXPECT_FALSE(ForEachName(world.Path(), [&](std::string_view) { ++visited; }));
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(IsEmptyDir, IsFalseWithAnEntryOfAnyKind) {
  const EveryKind world;
  world.Directory().Link("link_to_empty", world.Directory().MakeDir("empty"));
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
