// Very deep and very wide trees, handled by a program of its own.
#include <sys/statvfs.h>

#include "insio/finder.h"
#include "tests/insio/failure.h"
#include "tests/insio/run_tree_tool.h"
#include "tests/insio/surroundings.h"
#include "tests/support/sanitized.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

/// The place where entries are created fastest: in memory, if the system has such a place with room
/// for many.
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

class DeepTree : public BigTree {
 protected:
  static constexpr std::size_t kLongestPath = 4095;
  /// The length of a directory's path at which the path of its ".." just fits.
  static constexpr std::size_t kDeepest = kLongestPath - 3;

  static ToolSeen RunWithFewDescriptors(const std::vector<std::string>& words) {
    return RunTreeTool(words, [] { LimitDescriptors(16); });
  }
};

TEST_F(DeepTree, IsCopiedAndDeletedAsDeepAsTheSystemAllows) {
  std::string deepest = directory_.MakeDir("from");
  while (deepest.size() + 2 <= kDeepest) fs::create_directory(deepest += "/d");
  std::ofstream(deepest + "/f") << "text";
  EXPECT_EQ(RunWithFewDescriptors({"copy", Path("from"), Path("copy")}).err, "");
  std::string copied = Path("copy");
  while (NamesInOrder(copied) == std::vector<std::string>{"d"}) copied += "/d";
  EXPECT_EQ(copied, Path("copy") + deepest.substr(Path("from").size()));
  EXPECT_THAT(NamesInOrder(copied), ElementsAre("f"));
  EXPECT_EQ(ReadFile(copied + "/f"), "text");

  EXPECT_EQ(RunWithFewDescriptors({"delete", Path("from")}).err, "");
  fs::remove(copied + "/f");
  EXPECT_EQ(RunWithFewDescriptors({"delete_empty", Path("copy")}).result, 1);
  EXPECT_THAT(NamesInOrder(directory_.Path()), IsEmpty());
}

TEST_F(DeepTree, EndsTheCopyWithItsMessageWhereTheNewPathIsTooLong) {
  const std::string deepest = PathOfLength(Path("from"), kDeepest);
  fs::create_directories(deepest);
  // Just so much longer that only the deepest path is too long.
  const std::string to = Path("from") + std::string(kLongestPath + 1 - deepest.size(), 't');
  const ToolSeen seen = RunWithFewDescriptors({"copy", Path("from"), to});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.err,
            Exception("mkdir - " + to + deepest.substr(Path("from").size()), ENAMETOOLONG).text);
}

TEST_F(DeepTree, IsListedUpToTheLongestPathAndNotBeyond) {
  const std::string end = PathOfLength(Path("tree"), kLongestPath - 5).substr(Path("tree").size());
  fs::create_directories(Path("tree") + end);
  std::ofstream(Path("tree") + end + "/file") << "text";
  EXPECT_EQ(FindFirstFile(Path("tree") + end, kFile).FullPath(), Path("tree") + end + "/file");
  fs::rename(Path("tree"), Path("trees"));
  EXPECT_EQ(FailureOf([&] { return FindFirstFile(Path("trees") + end, kFile); }),
            Exception("lstat - " + Path("trees") + end + "/file", ENAMETOOLONG));
}

class WideTree : public BigTree {
 protected:
  // The sanitizers hide the use of memory, so more entries show nothing more there.
  static constexpr int kEntries = kSanitized ? 6'000 : 60'000;
  static constexpr long kMostGrowth = 1536;  // KiB, less than a list of their names takes

  /// Makes entries of this type, named "prefix100000", "prefix100001" and so on. Returns the names.
  std::vector<std::string> MakeEntries(const std::string& directory, mode_t type,
                                       const std::string& prefix = "") const {
    const std::string beginning = directory_.MakeDir(directory) + "/";
    std::vector<std::string> names;
    for (int i = 0; i < kEntries; ++i) {
      names.push_back(prefix + std::to_string(100'000 + i));
      const std::string path = beginning + names.back();
      const int made =
          type == S_IFDIR ? ::mkdir(path.c_str(), 0755) : ::mknod(path.c_str(), type | 0644, 0);
      if (made != 0) throw std::runtime_error("cannot make " + path);
    }
    return names;
  }

  /// Runs the tool and returns its result.
  int DoneInFlatMemory(const std::vector<std::string>& words) const {
    static const long little = RunTreeTool({"list", directory_.MakeDir("empty")}).memory;
    const ToolSeen seen = RunTreeTool(words);
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_GT(seen.memory, 0);
    EXPECT_TRUE(kSanitized || seen.memory < little + kMostGrowth)
        << words[0] << ": " << seen.memory << " instead of " << little;
    return seen.result;
  }
};

TEST_F(WideTree, IsListedCopiedAndDeletedInFlatMemory) {
  const auto names = MakeEntries("from", S_IFREG);
  EXPECT_EQ(DoneInFlatMemory({"list", Path("from")}), kEntries);
  EXPECT_EQ(DoneInFlatMemory({"delete_empty", Path("from")}), 0);
  DoneInFlatMemory({"copy", Path("from"), Path("to")});
  for (const std::string name : {"from", "to"}) {
    auto seen = NamesInOrder(Path(name));
    std::sort(seen.begin(), seen.end());
    EXPECT_TRUE(seen == names) << name;
  }
  DoneInFlatMemory({"delete", Path("to")});
  EXPECT_FALSE(fs::exists(Path("to")));
}

// Deep in a tree, the walk reads the names of a directory before it enters subdirectories.
TEST_F(WideTree, OfLongNamesDeepDownIsDeletedInFlatMemory) {
  // The system lists one of them before most of the files, whatever its order.
  directory_.MakeDir("tree/1/2/3/4/5/first");
  MakeEntries("tree/1/2/3/4/5", S_IFREG, std::string(249, 'n'));
  directory_.MakeDir("tree/1/2/3/4/5/last");
  DoneInFlatMemory({"delete", Path("tree")});
  EXPECT_FALSE(fs::exists(Path("tree")));
}

TEST_F(WideTree, OfDirectoriesLosesAllButItsCirclesToDeleteEmptyTree) {
  MakeEntries("tree", S_IFDIR);
  directory_.Link("tree/up", ".");
  directory_.Link("tree/100001/up", "..");
  EXPECT_EQ(DoneInFlatMemory({"delete_empty", Path("tree")}), 0);
  EXPECT_THAT(DescribeTree(Path("tree")),
              ElementsAre("d 755 100001", "l 100001/up -> ..", "l up -> ."));
}

}  // namespace
}  // namespace kvl::test
