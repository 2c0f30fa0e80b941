// Whole runs with a temporary directory on a file system that has too little room, for every amount
// of it: the staged copy is whole, or the installer is not started.

#include "tests/conditions/own_mounts.h"
#include "tests/conditions/staging_model.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/sanitized.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

class FullDisk : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
    world_.VolumeMissing();
  }

  bool IsEnough(const std::string& mount_options, const Room& room) {
    const MemoryMount small(world_.Path("tmp"), mount_options);
    return ExpectRunIn(world_, room);
  }

  LaunchWorld world_;
};

TEST_F(FullDisk, WithPagesForPartOfTheCopyNeverStartsTheInstaller) {
  constexpr long kMedia = 600 * 1024;
  constexpr long kMost = 256;
  constexpr long kStep = kSanitized ? 16 : 1;  // a sanitizer makes each launch slow
  const long page = ::sysconf(_SC_PAGESIZE);
  const long installer = static_cast<long>(fs::file_size(world_.Path(InstallerOf("1"))));
  ASSERT_LT(installer, kMedia);
  // A file that takes several writes, and one that fills its page.
  world_.Volume("1")
      .File("media.db", DifferentBytes(kMedia - installer))
      .File("StartGUI.sh", DifferentBytes(page));

  RunWithOwnMounts([&] {
    const long enough = FirstEnough(1, kMost, kStep, [&](long pages) {
      return IsEnough("size=" + std::to_string(pages * page), {.pages = pages});
    });
    EXPECT_GT(enough, kMedia / page);
  });
}

long EntriesIn(const std::string& directory) {
  const fs::recursive_directory_iterator entries(directory);
  return static_cast<long>(std::distance(begin(entries), end(entries)));
}

TEST_F(FullDisk, WithInodesForPartOfTheCopyNeverStartsTheInstaller) {
  constexpr long kMost = 24;
  constexpr long kOfTheFileSystem = 1, kStagingDirectory = 1;
  const auto pieces = static_cast<long>(StagedTree().pieces.size());
  RunWithOwnMounts([&] {
    const long enough = FirstEnough(1, kMost, 1, [&](long inodes) {
      return IsEnough("nr_inodes=" + std::to_string(inodes), {.inodes = inodes - kOfTheFileSystem});
    });
    // The clean-up script alone may be missing.
    EXPECT_EQ(enough,
              kOfTheFileSystem + kStagingDirectory + pieces + EntriesIn(world_.Path("1/inst")));
  });
}

}  // namespace
}  // namespace kvl::test
