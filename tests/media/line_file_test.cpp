#include "media/line_file.h"

#include <atomic>

#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

constexpr std::size_t kLongest = LineFile::kLongestLine;

std::vector<std::string> AllLines(const std::string& path) {
  LineFile file(path);
  std::vector<std::string> lines;
  for (std::string line; file.Next(line);) lines.push_back(line);
  EXPECT_EQ(file.Error(), 0) << path;
  return lines;
}

TEST(LineFile, GivesTheLinesWithoutTheirEnds) {
  TestDirectory directory;
  EXPECT_THAT(AllLines(directory.Write("a", "one\r\n\ntwo\r\r\nthree")),
              ElementsAre("one", "", "two\r", "three"));
  EXPECT_THAT(AllLines(directory.Write("b", "")), IsEmpty());
  EXPECT_THAT(AllLines(directory.Write("c", "\n\n")), ElementsAre("", ""));
}

TEST(LineFile, CutsALongLineAndSkipsItsRest) {
  TestDirectory directory;
  for (const std::size_t more : {0UL, 1UL, 70'000UL}) {
    const std::string contents = std::string(kLongest + more, 'x') + "\nnext\n";
    EXPECT_THAT(AllLines(directory.Write("file", contents)),
                ElementsAre(std::string(kLongest, 'x'), "next"))
        << more;
    EXPECT_THAT(AllLines(directory.Write("last", std::string(kLongest + more, 'x'))),
                ElementsAre(std::string(kLongest, 'x')))
        << more;
  }
  // A carriage return as the last kept byte does not make the line complete.
  const std::string contents = std::string(kLongest - 1, 'x') + "\rrest\nnext\n";
  EXPECT_THAT(AllLines(directory.Write("file", contents)),
              ElementsAre(std::string(kLongest - 1, 'x'), "next"));
}

/// Returns the peak resident memory of this process, in KiB.
long MostMemory() {
  rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(LineFile, TakesALineOfATebibyteWithLittleMemoryAndAtOnce) {
  TestDirectory directory;
  const std::string path = directory.Write("1.txt", "MTBDIR=");
  std::error_code error;
  std::filesystem::resize_file(path, 1ULL << 40U, error);
  if (error) GTEST_SKIP() << "the file system has no files of this size: " << error.message();
  std::ofstream(path, std::ios::app) << "\nbehind\n";
  const Outcome outcome = RunIsolated([&] {
    const long before = MostMemory();
    LineFile file(path);
    std::string line;
    if (!file.Next(line) || line.size() != kLongest || !line.starts_with("MTBDIR=")) return 1;
    if (!file.Next(line) || line != "behind" || file.Next(line)) return 2;
    return MostMemory() - before < 8 * 1024 ? 0 : 3;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(LineFile, GivesNoHalfLineWhenAReadFails) {
  TestDirectory directory;
  const std::string path = directory.Write("file", std::string(40'000, 'x') + "\n");
  for (const int error : {EIO, EAGAIN}) {  // a read that would have to wait gives EAGAIN
    const FailingCall failing(FailingCall::kRead, error, /*after=*/1);
    LineFile file(path);
    std::string line;
    EXPECT_FALSE(file.Next(line));
    EXPECT_EQ(file.Error(), error);
    EXPECT_FALSE(file.Next(line));
  }
}

TEST(LineFile, NeverWaitsForAPipeThatTakesThePlaceOfTheFile) {
  TestDirectory directory;
  const std::string file = directory.Write("file", "one\n");
  const std::string pipe = directory.Pipe("pipe");
  std::atomic<bool> is_over = false;
  std::thread exchanger([&] {
    while (!is_over) ::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, pipe.c_str(), RENAME_EXCHANGE);
  });
  for (int i = 0; i < 2000; ++i) {
    LineFile lines(file);
    std::string line;
    if (lines.Next(line)) {
      EXPECT_EQ(line, "one");
    } else {
      EXPECT_EQ(lines.Error(), EOPNOTSUPP);
    }
  }
  is_over = true;
  exchanger.join();
}

TEST(LineFile, ReadsAFileOfTheSystemThatClaimsToBeEmpty) {
  const std::string path = "/proc/sys/kernel/ostype";
  if (LineFile(path).Error() != 0) GTEST_SKIP() << "the system has no such file";
  EXPECT_THAT(AllLines(path), ElementsAre("Linux"));
}

TEST(LineFile, EndsEvenIfAFileOfTheSystemDoesNot) {
  LineFile file("/proc/self/pagemap");
  if (file.Error() != 0) GTEST_SKIP() << "the system does not let us read it";
  std::size_t bytes = 0;
  for (std::string line; file.Next(line);) bytes += line.size();
  EXPECT_LE(bytes, kLongest);
}

}  // namespace
}  // namespace kvl::test
