#include "insio/file_attributes.h"

#include <sys/vfs.h>

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

class FileAttributes : public testing::Test, protected EveryKind {
 protected:
  const std::string file_ = Path("file"), directory_ = Path("directory");
  const std::string link_ = Path("link_to_file");
};

TEST_F(FileAttributes, OfWhatCannotBeReachedFailWithTheirMessages) {
  const std::vector<std::pair<std::string, int>> rows = {
      {"", ENOENT},
      {Path("missing"), ENOENT},
      {Path("dangling_link"), ENOENT},
      {Path("file/x"), ENOTDIR},
      {Path("link_to_self"), ELOOP},
      {Path(TooLongName()), ENAMETOOLONG},
  };
  for (const auto& [path, error] : rows) {
    ExpectFailures(
        {{[&path = path] { return GetTime(path); }, ExceptionErrno("GetTime - " + path, error)},
         {[&path = path] { SetTime(path, 1, 2); }, ExceptionErrno("SetTime - " + path, error)},
         {[&path = path] { Chmod(path, 644); }, ExceptionErrno("Chmod - " + path, error)},
         {[&path = path] { return GetFileSize(path); },
          Exception("GetFileSize - " + path + " does not exist.")}});
    EXPECT_FALSE(SetReadOnly(path, kReadOnly)) << path;
    EXPECT_FALSE(SetReadOnly(path, kWritable)) << path;
  }
}

TEST_F(FileAttributes, GetTimeGivesAccessModificationAndStatusChange) {
  const std::pair<long, long> all[] = {{1'000'000'000, 1'234'567'890}, {-86'400, 4'102'444'800}};
  for (const auto& [access, modification] : all) {
    SetTimes(file_, access, modification);
    const struct stat status = StatusOf(file_);
    const FileTimes expected = {status.st_atime, status.st_mtime, status.st_ctime};
    EXPECT_EQ(GetTime(file_), expected);
    EXPECT_EQ(GetTime(link_), expected);
  }
}

TEST(FileTimes, AreEqualWhenAllThreeAre) {
  const FileTimes times = {1, 2, 3};
  EXPECT_EQ(times, (FileTimes{1, 2, 3}));
  EXPECT_EQ(FileTimes(), (FileTimes{0, 0, 0}));
  for (const FileTimes& other : {FileTimes{9, 2, 3}, {1, 9, 3}, {1, 2, 9}}) EXPECT_NE(times, other);
}

TEST_F(FileAttributes, SetTimeSetsBothTimesInWholeSeconds) {
  SetTime(link_, 1'000'000'000, 1'234'567'890);
  SetTime(directory_, 3, 4);
  EXPECT_EQ(Nanoseconds(StatusOf(file_).st_atim), 1'000'000'000 * kSecond);
  EXPECT_EQ(Nanoseconds(StatusOf(file_).st_mtim), 1'234'567'890 * kSecond);
  EXPECT_EQ(StatusOf(directory_).st_mtime, 4);
}

TEST_F(FileAttributes, ChmodReadsTheDigitsOfADecimalNumberAsOctal) {
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {644, 0644},  {0, 0},        {755, 0755},   {600, 0600},  {7, 07},  {70, 070},
      {777, 0777},  {1777, 01777}, {4755, 04755}, {8, 010},     {9, 011}, {88, 0110},
      {999, 01221}, {10, 010},     {100, 0100},   {0644, 0420},
  };
  for (const auto& [mode, bits] : rows) {
    Chmod(file_, mode);
    EXPECT_EQ(ModeOf(file_), bits) << mode;
  }
}

TEST_F(FileAttributes, ModesAreSetBehindLinksAndOfDirectories) {
  Chmod(link_, 640);
  Chmod(directory_, 750);
  EXPECT_EQ(ModeOf(file_), 0640U);
  EXPECT_EQ(ModeOf(directory_), 0750U);
  EXPECT_TRUE(SetReadOnly(link_, kReadOnly));
  EXPECT_TRUE(SetReadOnly(directory_, kReadOnly));
  EXPECT_EQ(ModeOf(file_), 0440U);
  EXPECT_EQ(ModeOf(directory_), 0550U);
}

TEST_F(FileAttributes, SetReadOnlyTouchesTheOwnersWriteBitOnly) {
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
  for (const Row& row : rows) {
    SetMode(file_, row.before);
    const auto before = DescribeTreeExactly(Path());
    EXPECT_EQ(SetReadOnly(file_, row.wanted), row.changed) << std::oct << row.before;
    EXPECT_EQ(ModeOf(file_), row.after) << std::oct << row.before;
    EXPECT_EQ(DescribeTreeExactly(Path()) != before, row.changed);
  }
}

TEST_F(FileAttributes, SetReadOnlyReportsAModeThatCannotBeChanged) {
  // Nobody can change the mode of this file of the process itself.
  const std::string path = "/proc/self/comm";
  EXPECT_EQ(FailureOf([&] { SetReadOnly(path, kReadOnly); }),
            ExceptionErrno("Chmod - " + path, EPERM));
}

TEST_F(FileAttributes, GetFileSizeCountsBytesOfAllButDirectories) {
  EXPECT_EQ(GetFileSize(Write("odd", std::string("a\0b\n\xff", 5))), 5);
  EXPECT_EQ(GetFileSize(link_), 4);
  EXPECT_EQ(GetFileSize(Path("pipe")), 0);
  fs::resize_file(file_, 5'000'000'000);  // a hole, which takes no room
  EXPECT_EQ(GetFileSize(file_), 5'000'000'000);
  for (const std::string name : {"directory", "link_to_directory", "directory//", "."}) {
    EXPECT_EQ(FailureOf([&] { return GetFileSize(Path(name)); }),
              Exception("GetFileSize - " + Path(name) + " is not a file."));
  }
}

TEST_F(FileAttributes, GetFileSizeAsksTheNormalisedPathForTheSize) {
  const std::string path = Write("a\\b", "123");
  EXPECT_EQ(FailureOf([&] { return GetFileSize(path); }),
            ExceptionErrno("GetFileSize - Cannot stat " + Path("a/b"), ENOENT));
  Write("a/b", "1234567");
  EXPECT_EQ(GetFileSize(path), 7);
}

/// Compares at a moment at which nobody else writes to the file system.
void ExpectFreeSpaceOf(const std::string& existing, const std::string& path) {
  const auto by_system = [&existing] {
    struct statfs status;
    EXPECT_EQ(::statfs(existing.c_str(), &status), 0) << existing;
    return static_cast<std::int64_t>(status.f_bavail) * status.f_bsize;
  };
  std::int64_t before = 0, seen = 0, after = -1;
  for (int attempt = 0; before != after && attempt < 10'000; ++attempt) {
    before = by_system();
    seen = GetFreeSpace(path);
    after = by_system();
  }
  EXPECT_EQ(seen, after) << path.substr(0, 200);
}

TEST_F(FileAttributes, GetFreeSpaceAsksTheNearestExistingAncestor) {
  const std::string quoted = "\"" + Path() + "/\"";  // as a user types it
  ExpectFreeSpaceOf(Path(), quoted);
  for (const std::string& name :
       {std::string("file"), std::string("missing"), std::string("missing/a/b/c"),
        std::string("file/x"), std::string("dangling_link/x"), std::string("link_to_self"),
        std::string("missing\\a//"), TooLongName() + "/x", std::string(100'000, 'x') + "/x"}) {
    ExpectFreeSpaceOf(Path(), Path(name));
  }
  for (const std::string place : {"/", "/proc"}) {
    ExpectFreeSpaceOf(place, place);
    ExpectFreeSpaceOf(place, place + "/missing-entry/x");
  }
}

TEST_F(FileAttributes, GetFreeSpaceIsAtMostTheGreatestNumber) {
  struct Row {
    std::uint64_t blocks, block_size;
    std::int64_t expected;
  };
  constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
  for (const auto& [blocks, block_size, expected] : std::vector<Row>{
           {3, 0, 0},
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

TEST_F(FileAttributes, GetFreeSpaceIsZeroWhenNothingIsLeftToAsk) {
  EXPECT_EQ(GetFreeSpace(""), 0);
  EXPECT_EQ(GetFreeSpace("''"), 0);
  EXPECT_EQ(GetFreeSpace("missing-entry/x"), 0);
}

}  // namespace
}  // namespace kvl::test
