// Whole runs with a temporary directory on a file system with too little room, for every amount of
// room: either the staged copy is complete, or the launcher does not start the installer.

#include "tests/conditions/own_mounts.h"
#include "tests/conditions/staging_model.h"

namespace kvl::test {
namespace {

class FullDisk : public OwnMountsTest {
 protected:
  FullDisk() { world_.VolumeMissing(); }

  /// Returns the least sufficient amount up to `most`.
  long Enough(const std::string& option, long unit, long most,
              const std::function<Room(long)>& room) {
    long enough = 0;
    RunWithOwnMounts([&] {
      enough = FirstEnough(1, most, 1, [&](long amount) {
        const MemoryMount small(world_.Path("tmp"), option + std::to_string(amount * unit));
        return ExpectRunIn(world_, room(amount));
      });
    });
    return enough;
  }

  LaunchWorld world_;
};

TEST_F(FullDisk, WithPagesForPartOfTheCopyNeverStartsTheInstaller) {
  const long page = ::sysconf(_SC_PAGESIZE);
  const auto installer = static_cast<long>(fs::file_size(world_.Path(InstallerOf("1"))));
  // A file that needs several writes, and one that fills its page.
  constexpr long kSeveralWrites = 135'000;
  world_.Volume("1")
      .File("media.db", DifferentBytes(kSeveralWrites))
      .File("StartGUI.sh", DifferentBytes(page));
  const long least = (installer + kSeveralWrites) / page, most = least + 16;
  EXPECT_GT(Enough("size=", page, most, [](long pages) { return Room{.pages = pages}; }), least);
}

long EntriesIn(const std::string& directory) {
  const fs::recursive_directory_iterator entries(directory);
  return static_cast<long>(std::distance(begin(entries), end(entries)));
}

TEST_F(FullDisk, WithInodesForPartOfTheCopyNeverStartsTheInstaller) {
  constexpr long kOfTheFileSystem = 1, kStagingDirectory = 1;
  // Only the clean-up script may be missing.
  const long enough = kOfTheFileSystem + kStagingDirectory +
                      static_cast<long>(StagedTree().pieces.size()) +
                      EntriesIn(world_.Path("1/inst"));
  EXPECT_EQ(Enough("nr_inodes=", 1, enough + 3,
                   [](long inodes) { return Room{.inodes = inodes - kOfTheFileSystem}; }),
            enough);
}

}  // namespace
}  // namespace kvl::test
