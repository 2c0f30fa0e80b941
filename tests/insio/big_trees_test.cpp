// Trees that are very deep or very wide, in the hands of a program of its own.
#include <sys/statvfs.h>

#include "insio/finder.h"
#include "tests/insio/failure.h"
#include "tests/insio/run_tree_tool.h"
#include "tests/insio/surroundings.h"
#include "tests/support/sanitized.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// Where entries are made fastest: in memory, if the system has such a place with room for many.
Environment PlaceForManyEntries() {
  constexpr fsfilcnt_t kEnough = 1'000'000;
  const std::string memory = "/dev/shm";
  struct statvfs status;
  const bool has_room = ::statvfs(memory.c_str(), &status) == 0 && status.f_favail > kEnough &&
                        ::access(memory.c_str(), W_OK | X_OK) == 0;
  return has_room ? Environment{{"TMPDIR", memory}} : CurrentEnvironment();
}

/// A directory for trees that would take too long elsewhere.
class BigTree : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }

  ScopedEnv env_{PlaceForManyEntries()};
  TestDirectory directory_;
};

/// Directories "d" in one another below a directory, down to where "..", which every directory has,
/// can just be named.
class DeepTree : public BigTree {
 protected:
  static constexpr std::size_t kLongestPath = 4095;

  /// Returns the path of the deepest.
  static std::string MakeDeep(const std::string& top) {
    std::string path = top;
    fs::create_directory(path);
    while (path.size() + std::string("/d/..").size() <= kLongestPath) {
      path += "/d";
      fs::create_directory(path);
    }
    return path;
  }

  static ToolSeen RunWithFewDescriptors(const std::vector<std::string>& words) {
    return RunTreeTool(words, [] { LimitDescriptors(16); });
  }

  static void ExpectDone(const std::vector<std::string>& words) {
    const ToolSeen seen = RunWithFewDescriptors(words);
    EXPECT_EQ(seen.status, 0) << seen.err;
  }

  static std::vector<std::string> NamesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  /// The number of levels below the directory that hold "d" and nothing else.
  static int LevelsBelow(std::string directory) {
    int levels = 0;
    while (NamesIn(directory) == std::vector<std::string>{"d"}) {
      directory += "/d";
      ++levels;
    }
    return levels;
  }
};

TEST_F(DeepTree, IsCopiedAndDeletedToTheDeepestThatTheSystemAllows) {
  const std::string deepest = MakeDeep(Path("from"));
  std::ofstream(deepest + "/f") << "text";
  const int levels = LevelsBelow(Path("from"));
  ASSERT_GT(levels, 1900);

  ExpectDone({"copy", Path("from"), Path("copy")});
  EXPECT_EQ(LevelsBelow(Path("copy")), levels);
  const std::string copied = Path("copy") + deepest.substr(Path("from").size());
  EXPECT_THAT(NamesIn(copied), ElementsAre("f"));
  EXPECT_EQ(ReadFile(copied + "/f"), "text");

  ExpectDone({"delete", Path("from")});
  ExpectDone({"delete", Path("copy")});
  EXPECT_THAT(NamesIn(directory_.Path()), IsEmpty());
}

TEST_F(DeepTree, IsDeletedAsAnEmptyTree) {
  MakeDeep(Path("tree"));
  const ToolSeen seen = RunWithFewDescriptors({"delete_empty", Path("tree")});
  EXPECT_EQ(seen.result, 1);
  EXPECT_THAT(NamesIn(directory_.Path()), IsEmpty());
}

TEST_F(DeepTree, EndsTheCopyWithItsMessageWhereTheDestinationHasTooLongAPath) {
  const std::string deepest = MakeDeep(Path("from"));
  // So much longer that nothing but the deepest is too long.
  const std::string to = Path("from") + std::string(kLongestPath + 1 - deepest.size(), 't');
  const std::string target = to + deepest.substr(Path("from").size());
  const ToolSeen seen = RunWithFewDescriptors({"copy", Path("from"), to});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.err, Exception("mkdir - " + target, ENAMETOOLONG).text);
  ExpectDone({"delete", Path("from")});
  fs::rename(to, Path("to"));  // its own paths are too long to be deleted
  ExpectDone({"delete", Path("to")});
}

TEST_F(DeepTree, EndsWithItsMessageWhereItHasGrownTooDeep) {
  const std::string inner =
      PathOfLength(Path("tree"), kLongestPath - 100).substr(Path("tree").size());
  directory_.Write("tree" + inner + "/file", "");
  const std::string longer = Path(std::string(200, 't'));
  fs::rename(Path("tree"), longer);
  for (const std::string what : {"copy", "delete"}) {
    std::vector<std::string> words = {what, longer};
    if (what == "copy") words.push_back(Path("to"));
    const ToolSeen seen = RunWithFewDescriptors(words);
    EXPECT_EQ(seen.status, 1) << what;
    EXPECT_THAT(seen.err, testing::StartsWith("lstat - " + longer)) << what;
    EXPECT_THAT(seen.err, testing::EndsWith(" - File name too long\n")) << what;
  }
  fs::rename(longer, Path("tree"));
  EXPECT_TRUE(fs::exists(Path("tree" + inner + "/file")));
}

TEST_F(DeepTree, IsListedUpToTheLongestPathAndNotBeyond) {
  const std::size_t room = 20;
  const std::string directory = PathOfLength(Path("tree"), kLongestPath - room - 1);
  fs::create_directories(directory);
  const int opened = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(opened, 0);
  const auto make = [&](std::size_t length) {
    ::close(::openat(opened, std::string(length, 'f').c_str(), O_WRONLY | O_CREAT, 0644));
  };
  make(room);
  EXPECT_EQ(KVLInsIO::FindFirstFile(directory, KVLInsIO::kFile).FullPath().size(), kLongestPath);
  ::unlinkat(opened, std::string(room, 'f').c_str(), 0);
  make(room + 1);
  EXPECT_EQ(FailureOf([&] { return KVLInsIO::FindFirstFile(directory, KVLInsIO::kFile); }),
            Exception("lstat - " + directory + "/" + std::string(room + 1, 'f'), ENAMETOOLONG));
  ::unlinkat(opened, std::string(room + 1, 'f').c_str(), 0);
  ::close(opened);
}

class WideTree : public BigTree {
 protected:
  static constexpr int kEntries = 200'000;
  static constexpr long kMostMemory = 8 * 1024;  // KiB

  void MakeEntries(const std::string& name) const {
    const std::string directory = directory_.MakeDir(name) + "/";
    for (int i = 0; i < kEntries; ++i) {
      ASSERT_EQ(::mknod((directory + std::to_string(i)).c_str(), S_IFREG | 0644, 0), 0);
    }
  }

  void MakeLongNames(const std::string& name) const {
    constexpr int kLongNames = 60'000;  // 15 MB of names
    const std::string prefix = directory_.MakeDir(name) + "/" + std::string(249, 'n');
    for (int i = 0; i < kLongNames; ++i) {
      const std::string number = std::to_string(100'000 + i);
      ASSERT_EQ(::mknod((prefix + number).c_str(), S_IFREG | 0644, 0), 0);
    }
  }

  /// How many of the entries made are there, and nothing else; -1 when something else is.
  int EntriesIn(const std::string& name) const {
    std::vector<bool> seen(kEntries, false);
    int count = 0;
    DIR* stream = ::opendir(Path(name).c_str());
    while (const dirent* entry = ::readdir(stream)) {
      const std::string entry_name = entry->d_name;
      if (entry_name == "." || entry_name == "..") continue;
      const int number = std::atoi(entry->d_name);
      if (std::to_string(number) != entry_name || number >= kEntries) return -1;
      if (!seen[static_cast<std::size_t>(number)]) ++count;
      seen[static_cast<std::size_t>(number)] = true;
    }
    ::closedir(stream);
    return count;
  }

  /// Runs the tool and gives its result back.
  static int DoneInFlatMemory(const std::vector<std::string>& words) {
    const ToolSeen seen = RunTreeTool(words);
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_GT(seen.memory, 0);
    EXPECT_TRUE(kSanitized || seen.memory < kMostMemory) << words[0] << ": " << seen.memory;
    return seen.result;
  }
};

TEST_F(WideTree, IsCopiedInFlatMemory) {
  MakeEntries("from");
  DoneInFlatMemory({"copy", Path("from"), Path("to")});
  EXPECT_EQ(EntriesIn("to"), kEntries);
}

TEST_F(WideTree, IsListedAndDeletedInFlatMemory) {
  MakeEntries("tree");
  EXPECT_EQ(DoneInFlatMemory({"list", Path("tree")}), kEntries);
  EXPECT_EQ(DoneInFlatMemory({"delete_empty", Path("tree")}), 0);
  EXPECT_EQ(EntriesIn("tree"), kEntries);
  DoneInFlatMemory({"delete", Path("tree")});
  EXPECT_FALSE(fs::exists(Path("tree")));
}

// Deep down, the names of a directory are read before its subdirectories are entered.
TEST_F(WideTree, OfLongNamesDeepDownIsDeletedInFlatMemory) {
  // One of them is listed before most of the files, in whatever order the file system goes.
  directory_.MakeDir("tree/1/2/3/4/5/first");
  MakeLongNames("tree/1/2/3/4/5");
  directory_.MakeDir("tree/1/2/3/4/5/last");
  DoneInFlatMemory({"delete", Path("tree")});
  EXPECT_FALSE(fs::exists(Path("tree")));
}

TEST_F(WideTree, OfDirectoriesLosesAllButItsCirclesAsAnEmptyTreeInFlatMemory) {
  const std::string top = directory_.MakeDir("tree") + "/";
  for (int i = 0; i < kEntries; ++i) {
    ASSERT_EQ(::mkdir((top + std::to_string(i)).c_str(), 0755), 0);
  }
  directory_.Link("tree/up", ".");
  directory_.Link("tree/1/up", "..");
  EXPECT_EQ(DoneInFlatMemory({"delete_empty", Path("tree")}), 0);
  EXPECT_THAT(DescribeTree(Path("tree")), ElementsAre("d 755 1", "l 1/up -> ..", "l up -> ."));
}

}  // namespace
}  // namespace kvl::test
