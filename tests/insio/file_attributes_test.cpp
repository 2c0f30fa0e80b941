#include "insio/file_attributes.h"

#include <sys/vfs.h>

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Chmod;
using KVLInsIO::FileTimes;
using KVLInsIO::GetFileSize;
using KVLInsIO::GetFreeSpace;
using KVLInsIO::GetTime;
using KVLInsIO::kReadOnly;
using KVLInsIO::kWritable;
using KVLInsIO::SetReadOnly;
using KVLInsIO::SetTime;

/// The paths at which no operation finds anything, with the error that they give.
std::vector<std::pair<std::string, int>> Unreachable(const EveryKind& world) {
  return {
      {"", ENOENT},
      {world.Path("missing"), ENOENT},
      {world.Path("dangling_link"), ENOENT},
      {world.Path("file/x"), ENOTDIR},
      {world.Path("link_to_self"), ELOOP},
      {world.Path(TooLongName()), ENAMETOOLONG},
  };
}

TEST(GetTime, GivesAccessModificationAndStatusChange) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  SetTimes(file, 1'000'000'000, 1'234'567'890);
  EXPECT_EQ(GetTime(file),
            (FileTimes{1'000'000'000, 1'234'567'890, StatusOf(file).st_ctim.tv_sec}));
}

TEST(GetTime, GivesTimesFarFromToday) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  SetTimes(file, -86'400, 4'102'444'800);
  const struct stat status = StatusOf(file);
  EXPECT_EQ(GetTime(file), (FileTimes{status.st_atime, status.st_mtime, status.st_ctime}));
}

TEST(GetTime, FollowsLinks) {
  const EveryKind world;
  SetTimes(world.Path("file"), 1, 2);
  EXPECT_EQ(GetTime(world.Path("link_to_file")), GetTime(world.Path("file")));
}

TEST(GetTime, FailsWithItsMessage) {
  const EveryKind world;
  for (const auto& row : Unreachable(world)) {
    const auto& path = row.first;
    EXPECT_EQ(FailureOf([&] { return GetTime(path); }),
              ExceptionErrno("GetTime - " + path, row.second));
  }
}

TEST(SetTime, SetsAccessAndModificationInWholeSeconds) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  SetTime(file, 1'000'000'000, 1'234'567'890);
  const struct stat status = StatusOf(file);
  EXPECT_EQ(Nanoseconds(status.st_atim), 1'000'000'000 * kSecond);
  EXPECT_EQ(Nanoseconds(status.st_mtim), 1'234'567'890 * kSecond);
}

TEST(SetTime, FollowsLinksAndTakesDirectories) {
  const EveryKind world;
  SetTime(world.Path("link_to_file"), 1, 2);
  SetTime(world.Path("directory"), 3, 4);
  EXPECT_EQ(StatusOf(world.Path("file")).st_mtime, 2);
  EXPECT_EQ(StatusOf(world.Path("directory")).st_mtime, 4);
}

TEST(SetTime, FailsWithItsMessage) {
  const EveryKind world;
  for (const auto& row : Unreachable(world)) {
    const auto& path = row.first;
    EXPECT_EQ(FailureOf([&] { SetTime(path, 1, 2); }),
              ExceptionErrno("SetTime - " + path, row.second));
  }
}

TEST(Chmod, ReadsTheDigitsOfADecimalNumberAsOctal) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {644, 0644},  {0, 0},        {755, 0755},   {600, 0600},  {7, 07},  {70, 070},
      {777, 0777},  {1777, 01777}, {4755, 04755}, {8, 010},     {9, 011}, {88, 0110},
      {999, 01221}, {10, 010},     {100, 0100},   {0644, 0420},
  };
  for (const auto& [mode, bits] : rows) {
    Chmod(file, mode);
    EXPECT_EQ(ModeOf(file), bits) << mode;
  }
}

TEST(Chmod, FollowsLinksAndTakesDirectories) {
  const EveryKind world;
  Chmod(world.Path("link_to_file"), 640);
  Chmod(world.Path("directory"), 750);
  EXPECT_EQ(ModeOf(world.Path("file")), 0640U);
  EXPECT_EQ(ModeOf(world.Path("directory")), 0750U);
}

TEST(Chmod, FailsWithItsMessage) {
  const EveryKind world;
  for (const auto& row : Unreachable(world)) {
    const auto& path = row.first;
    EXPECT_EQ(FailureOf([&] { Chmod(path, 644); }), ExceptionErrno("Chmod - " + path, row.second));
  }
}

TEST(SetReadOnly, TouchesTheOwnersWriteBitOnly) {
  struct Row {
    unsigned before;
    bool wanted, changed;
    unsigned after;
  };
  const std::vector<Row> rows = {
      {0644, kReadOnly, true, 0444},    {0444, kReadOnly, false, 0444},
      {0666, kReadOnly, true, 0466},    {0466, kReadOnly, false, 0466},
      {0777, kReadOnly, true, 0577},    {0200, kReadOnly, true, 0},
      {0444, kWritable, true, 0644},    {0644, kWritable, false, 0644},
      {0000, kWritable, true, 0200},    {0055, kWritable, true, 0255},
      {04755, kReadOnly, true, 0555},   {01444, kWritable, true, 0644},
      {04555, kReadOnly, false, 04555}, {01644, kWritable, false, 01644},
  };
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  for (const Row& row : rows) {
    SetMode(file, row.before);
    EXPECT_EQ(SetReadOnly(file, row.wanted), row.changed) << std::oct << row.before;
    EXPECT_EQ(ModeOf(file), row.after) << std::oct << row.before;
  }
}

TEST(SetReadOnly, LeavesAReadOnlyFileExactlyAsItIs) {
  const TestDirectory directory;
  SetMode(directory.Write("file", "text"), 0444);
  const auto before = DescribeTreeExactly(directory.Path());
  EXPECT_FALSE(SetReadOnly(directory.Path("file"), kReadOnly));
  EXPECT_EQ(DescribeTreeExactly(directory.Path()), before);
}

TEST(SetReadOnly, FollowsLinksAndTakesDirectories) {
  const EveryKind world;
  EXPECT_TRUE(SetReadOnly(world.Path("link_to_file"), kReadOnly));
  EXPECT_TRUE(SetReadOnly(world.Path("directory"), kReadOnly));
  EXPECT_EQ(ModeOf(world.Path("file")), 0444U);
  EXPECT_EQ(ModeOf(world.Path("directory")), 0555U);
}

TEST(SetReadOnly, OfWhatCannotBeStatedIsFalse) {
  const EveryKind world;
  for (const auto& row : Unreachable(world)) {
    const auto& path = row.first;
    EXPECT_FALSE(SetReadOnly(path, kReadOnly)) << path;
    EXPECT_FALSE(SetReadOnly(path, kWritable)) << path;
  }
}

TEST(SetReadOnly, ReportsAModeThatCannotBeChanged) {
  // The mode of this file of our own process is fixed, for everybody.
  const std::string path = "/proc/self/comm";
  EXPECT_EQ(FailureOf([&] { SetReadOnly(path, kReadOnly); }),
            ExceptionErrno("Chmod - " + path, EPERM));
}

TEST(GetFileSize, CountsTheBytesOfAnythingButADirectory) {
  const EveryKind world;
  const std::string odd = world.Directory().Write("odd", std::string("a\0b\n\xff", 5));
  EXPECT_EQ(GetFileSize(odd), 5);
  EXPECT_EQ(GetFileSize(world.Directory().Write("empty", "")), 0);
  EXPECT_EQ(GetFileSize(world.Path("link_to_file")), 4);
  EXPECT_EQ(GetFileSize(world.Path("pipe")), 0);
}

TEST(GetFileSize, CountsBeyondFourGigabytes) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  std::filesystem::resize_file(file, 5'000'000'000);  // a hole: takes no room
  EXPECT_EQ(GetFileSize(file), 5'000'000'000);
}

TEST(GetFileSize, OfWhatDoesNotExistFails) {
  const EveryKind world;
  for (const auto& row : Unreachable(world)) {
    const auto& path = row.first;
    EXPECT_EQ(FailureOf([&] { return GetFileSize(path); }),
              Exception("GetFileSize - " + path + " does not exist."));
  }
}

TEST(GetFileSize, OfADirectoryFails) {
  const EveryKind world;
  for (const std::string name : {"directory", "link_to_directory", "directory//", "."}) {
    const std::string path = world.Path(name);
    EXPECT_EQ(FailureOf([&] { return GetFileSize(path); }),
              Exception("GetFileSize - " + path + " is not a file."));
  }
}

TEST(GetFileSize, AsksTheNormalisedPathForTheSize) {
  const TestDirectory directory;
  directory.Write("a\\b", "123");
  directory.Write("a/b", "1234567");
  EXPECT_EQ(GetFileSize(directory.Path("a\\b")), 7);
}

TEST(GetFileSize, FailsWhenOnlyTheNormalisedPathIsMissing) {
  const TestDirectory directory;
  const std::string path = directory.Write("a\\b", "123");
  EXPECT_EQ(FailureOf([&] { return GetFileSize(path); }),
            ExceptionErrno("GetFileSize - Cannot stat " + directory.Path("a/b"), ENOENT));
}

std::int64_t FreeSpaceBySystem(const std::string& existing) {
  struct statfs status;
  EXPECT_EQ(::statfs(existing.c_str(), &status), 0) << existing;
  return static_cast<std::int64_t>(status.f_bavail) * status.f_bsize;
}

/// Compares at a moment when nobody else wrote to the file system.
void ExpectFreeSpaceOf(const std::string& existing, const std::string& path) {
  std::int64_t before = 0, seen = 0, after = -1;
  for (int attempt = 0; before != after && attempt < 10'000; ++attempt) {
    before = FreeSpaceBySystem(existing);
    seen = GetFreeSpace(path);
    after = FreeSpaceBySystem(existing);
  }
  EXPECT_EQ(seen, after) << path.substr(0, 200);
}

TEST(GetFreeSpace, CountsTheBytesAnOrdinaryUserMayStore) {
  const EveryKind world;
  ExpectFreeSpaceOf(world.Path(), world.Path());
  ExpectFreeSpaceOf(world.Path(), world.Path("file"));
  ExpectFreeSpaceOf("/", "/");
  ExpectFreeSpaceOf("/proc", "/proc");
}

TEST(GetFreeSpace, MeasuresTheNearestExistingAncestor) {
  const EveryKind world;
  for (const std::string name :
       {"missing", "missing/a/b/c", "file/x", "dangling_link/x", "link_to_self", "missing\\a//"}) {
    ExpectFreeSpaceOf(world.Path(), world.Path(name));
  }
  ExpectFreeSpaceOf(world.Path(), world.Path(TooLongName() + "/x"));
  ExpectFreeSpaceOf(world.Path(), world.Path(std::string(100'000, 'x') + "/x"));
  ExpectFreeSpaceOf("/", "/missing-entry-of-the-root/x");
  ExpectFreeSpaceOf("/proc", "/proc/missing/x");
}

TEST(FileTimes, AreEqualWhenAllThreeAre) {
  EXPECT_EQ(FileTimes(), (FileTimes{0, 0, 0}));
  EXPECT_EQ((FileTimes{1, 2, 3}), (FileTimes{1, 2, 3}));
  for (const FileTimes& other : {FileTimes{9, 2, 3}, FileTimes{1, 9, 3}, FileTimes{1, 2, 9}}) {
    EXPECT_NE((FileTimes{1, 2, 3}), other);
  }
}

TEST(GetFreeSpace, IsTheGreatestNumberWhereTheSystemClaimsMore) {
  struct Row {
    std::uint64_t blocks, block_size;
    std::int64_t expected;
  };
  constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
  for (const auto& [blocks, block_size, expected] : std::vector<Row>{
           {0, 0, 0},
           {3, 0, 0},
           {0, 4096, 0},
           {3, 4096, 12'288},
           {kGreatest, 1, kGreatest},
           {kGreatest / 7, 7, kGreatest},
           {kGreatest / 4096, 4096, kGreatest - 4095},
           {kGreatest / 4096 + 1, 4096, kGreatest},
           {std::uint64_t{kGreatest} + 1, 1, kGreatest},
           {std::numeric_limits<std::uint64_t>::max(), 4096, kGreatest},
       }) {
    const FakeFreeBlocks fake(blocks, block_size);
    EXPECT_EQ(GetFreeSpace("/"), expected) << blocks << " * " << block_size;
  }
}

TEST(GetFreeSpace, TakesAPathAsAUserTypesIt) {
  const TestDirectory directory;
  ExpectFreeSpaceOf(directory.Path(), "\"" + directory.Path("") + "\"");
}

TEST(GetFreeSpace, IsZeroWhenNothingIsLeftToAsk) {
  const TestDirectory directory;
  EXPECT_EQ(GetFreeSpace(""), 0);
  EXPECT_EQ(GetFreeSpace("''"), 0);
  EXPECT_EQ(RunIsolated([&directory] {
              Enter(directory);
              return GetFreeSpace("missing/x") == 0 ? 0 : 1;
            }).status,
            0);
}

}  // namespace
}  // namespace kvl::test
