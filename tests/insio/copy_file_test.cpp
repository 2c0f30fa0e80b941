// CopyFile: one file, and everything that can go wrong on the way.

#include "insio/copy.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::CopyFile;

/// A directory that holds the file "source".
class CopyFileTest : public testing::Test {
 protected:
  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }
  std::string Path(const std::string& name) const { return directory_.Path(name); }

  Failure FailureOfCopying(const std::string& source, const std::string& destination) const {
    return FailureOf([&] { CopyFile(source, destination); });
  }

  ScopedUmask umask_{022};
  TestDirectory directory_;
  std::string source_ = directory_.Write("source", "text");
};

using CopyFileFailure = CopyFileTest;

/// So many bytes, of every value in turn.
std::string Bytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 % 256);
  return bytes;
}

/// How often this process has asked the system to read so far; -1 when that is not told.
long ReadCalls() {
  std::ifstream io("/proc/self/io");
  std::string name;
  for (long value = 0; io >> name >> value;) {
    if (name == "syscr:") return value;
  }
  return -1;
}

TEST_F(CopyFileTest, CopiesEveryByteOfFilesAroundTheSizeOfTheBuffer) {
  for (const std::size_t size : {0U, 1U, 65'535U, 65'536U, 65'537U, 131'072U, 300'000U}) {
    const std::string contents = Bytes(size);
    CopyFile(directory_.Write("any", contents), Path("copy"));
    EXPECT_TRUE(ReadFile(Path("copy")) == contents) << size;
  }
}

TEST_F(CopyFileTest, ReadsBlocksOf65536BytesUntilNothingComes) {
  const long first = ReadCalls();
  const long of_asking = ReadCalls() - first;
  if (first < 0) GTEST_SKIP() << "the system does not count the reads of a process";
  const std::vector<std::pair<std::size_t, long>> rows = {{0, 1},      {1, 2},      {65'535, 2},
                                                          {65'536, 2}, {65'537, 3}, {131'072, 3}};
  for (const auto& [size, expected] : rows) {
    directory_.Write("any", Bytes(size));
    const long before = ReadCalls();
    CopyFile(Path("any"), Path("copy"));
    EXPECT_EQ(ReadCalls() - before - of_asking, expected) << size;
  }
}

TEST_F(CopyFileTest, GivesANewFileTheSourcesLowNineBitsLessTheUmask) {
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {0666, 0640}, {0755, 0750}, {0400, 0400}, {0777, 0750}, {04755, 0750}, {01644, 0640}};
  const ScopedUmask umask(027);
  for (const auto& [mode, expected] : rows) {
    SetMode(source_, mode);
    CopyFile(source_, Path("copy"));
    EXPECT_EQ(ModeOf(Path("copy")), expected) << std::oct << mode;
    std::filesystem::remove(Path("copy"));
  }
}

TEST_F(CopyFileTest, KeepsTheModeOfAnExistingDestination) {
  SetMode(source_, 0755);
  SetMode(directory_.Write("copy", "old"), 0600);
  CopyFile(source_, Path("copy"));
  EXPECT_THAT(Tree(), ElementsAre("f 600 copy = text", "f 755 source = text"));
}

TEST_F(CopyFileTest, TruncatesALongerDestination) {
  directory_.Write("copy", Bytes(100'000));
  CopyFile(source_, Path("copy"));
  EXPECT_THAT(Tree(), ElementsAre("f 644 copy = text", "f 644 source = text"));
}

TEST_F(CopyFileTest, OverwritesInPlaceSoThatLinksStay) {
  directory_.HardLink("hard", directory_.Write("copy", "old"));
  directory_.Link("soft", "copy");
  directory_.Link("to_be_made", "made");
  CopyFile(source_, Path("soft"));
  CopyFile(source_, Path("to_be_made"));
  EXPECT_THAT(Tree(), ElementsAre("f 644 copy = text", "f 644 hard = text", "f 644 made = text",
                                  "f 644 source = text", "l soft -> copy", "l to_be_made -> made"));
}

TEST_F(CopyFileTest, FollowsALinkAsItsSource) {
  CopyFile(directory_.Link("link", "source"), Path("copy"));
  EXPECT_THAT(Tree(), ElementsAre("f 644 copy = text", "f 644 source = text", "l link -> source"));
}

TEST_F(CopyFileTest, MakesTheMissingParentsOfTheDestination) {
  CopyFile(source_, Path("a/b//copy"));
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/copy = text", "f 644 source = text"));
}

TEST_F(CopyFileTest, TakesADestinationWithoutADirectory) {
  const Failure failure = IsolatedFailureOf([this] {
    Enter(directory_);
    CopyFile("source", "copy");
  });
  EXPECT_EQ(failure, kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("f 644 copy = text", "f 644 source = text"));
}

TEST_F(CopyFileTest, NormalisesTheDestinationOnlyToMakeItsParent) {
  CopyFile(source_, Path("a\\copy"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "f 644 a\\copy = text", "f 644 source = text"));
}

TEST_F(CopyFileTest, TakesItsSourceAsGiven) {
  CopyFile(directory_.Write("x\\y", "other"), Path("copy"));
  EXPECT_EQ(ReadFile(Path("copy")), "other");
}

TEST_F(CopyFileTest, TakesTheSourcesTimesInWholeSeconds) {
  const timespec times[] = {{1'000'000'000, 900'000'000}, {1'234'567'890, 700'000'000}};
  directory_.Write("existing", "old");
  for (const std::string& copy : {Path("new"), Path("existing")}) {
    ASSERT_EQ(::utimensat(AT_FDCWD, source_.c_str(), times, 0), 0);
    CopyFile(source_, copy);
    const struct stat status = StatusOf(copy);
    EXPECT_EQ(Nanoseconds(status.st_atim), 1'000'000'000 * kSecond) << copy;
    EXPECT_EQ(Nanoseconds(status.st_mtim), 1'234'567'890 * kSecond) << copy;
  }
}

TEST_F(CopyFileTest, TakesAModificationTimeOfZero) {
  SetTimes(source_, 1, 0);
  CopyFile(source_, Path("copy"));
  const struct stat status = StatusOf(Path("copy"));
  EXPECT_EQ(status.st_atime, 1);
  EXPECT_EQ(status.st_mtime, 0);
}

TEST_F(CopyFileTest, OfASourceWithAccessTimeZeroLeavesTheCopyItsOwnTimes) {
  const struct stat now = StatusOf(directory_.Write("now", ""));
  SetTimes(source_, 0, 1'234'567'890);
  CopyFile(source_, Path("copy"));
  const struct stat status = StatusOf(Path("copy"));
  EXPECT_GE(Nanoseconds(status.st_atim), Nanoseconds(now.st_atim));
  EXPECT_GE(Nanoseconds(status.st_mtim), Nanoseconds(now.st_mtim));
}

TEST_F(CopyFileTest, OfASourceWithAccessTimeZeroLeavesAnExistingCopyItsOwnTimes) {
  const struct stat now = StatusOf(directory_.Write("now", ""));
  SetTimes(directory_.Write("copy", "old"), 5, 6);
  SetTimes(source_, 0, 1'234'567'890);
  CopyFile(source_, Path("copy"));
  const struct stat status = StatusOf(Path("copy"));
  EXPECT_EQ(Nanoseconds(status.st_atim), 5 * kSecond);
  EXPECT_GE(Nanoseconds(status.st_mtim), Nanoseconds(now.st_mtim));
}

TEST_F(CopyFileTest, DoesNotCopyTheOwner) {
  // A file that belongs to root on every system.
  const std::string foreign = "/bin/sh";
  SetMode(directory_.Path(), 0777);
  EXPECT_EQ(IsolatedFailureOf([&] {
              EnterAsOrdinaryUser(directory_);
              CopyFile(foreign, "copy");
            }),
            kNoFailure);
  EXPECT_NE(StatusOf(Path("copy")).st_uid, StatusOf(foreign).st_uid);
  EXPECT_TRUE(ReadFile(Path("copy")) == ReadFile(foreign));
}

TEST_F(CopyFileTest, OverwritesAnotherFileOfTheSameSizeAndTime) {
  const std::string other = directory_.Write("other", "abcd");
  SetTimes(source_, 1, 2);
  SetTimes(other, 1, 2);
  CopyFile(source_, other);
  EXPECT_EQ(ReadFile(other), "text");
}

TEST_F(CopyFileTest, LeavesNoDescriptorBehind) {
  const auto before = OpenDescriptors();
  CopyFile(source_, Path("copy"));
  EXPECT_NE(FailureOfCopying(directory_.MakeDir("directory"), Path("copy")), kNoFailure);
  EXPECT_NE(FailureOfCopying(source_, Path("directory")), kNoFailure);
  EXPECT_NE(FailureOfCopying(MakeSocket(directory_, "socket"), Path("copy")), kNoFailure);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(CopyFileFailure, OntoItselfIsRefused) {
  const std::vector<std::string> spellings = {
      source_,
      Path(".//source"),
      directory_.HardLink("hard", source_),
      directory_.Link("soft", "source"),
  };
  for (const std::string& same : spellings) {
    EXPECT_EQ(FailureOfCopying(source_, same), Exception("Cannot copy " + source_ + " to itself."));
    EXPECT_EQ(FailureOfCopying(same, source_), Exception("Cannot copy " + same + " to itself."));
  }
  EXPECT_EQ(ReadFile(source_), "text");
}

TEST_F(CopyFileFailure, SourceThatCannotBeStated) {
  const std::vector<std::pair<std::string, int>> rows = {
      {"", ENOENT},
      {Path("missing"), ENOENT},
      {directory_.Link("dangling", "nowhere"), ENOENT},
      {directory_.Link("loop", "loop"), ELOOP},
      {Path("source/x"), ENOTDIR},
      {Path(TooLongName()), ENAMETOOLONG},
  };
  for (const auto& [source, error] : rows) {
    EXPECT_EQ(FailureOfCopying(source, Path("copy")),
              ExceptionErrno("Cannot stat " + source, error));
  }
  EXPECT_FALSE(std::filesystem::exists(Path("copy")));
}

TEST_F(CopyFileFailure, OfTheSourceLeavesTheParentsMadeForTheDestination) {
  EXPECT_EQ(FailureOfCopying(Path("missing"), Path("a/b/copy")),
            ExceptionErrno("Cannot stat " + Path("missing"), ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "f 644 source = text"));
}

TEST_F(CopyFileFailure, SourceThatCannotBeOpened) {
  const std::string socket = MakeSocket(directory_, "socket");
  EXPECT_EQ(FailureOfCopying(socket, Path("copy")), Exception("Cannot read " + socket, ENXIO));
  EXPECT_THAT(Tree(), ElementsAre("f 644 source = text", "p 600 socket"));
}

TEST_F(CopyFileFailure, SourceThatTheUserMayNotRead) {
  SetMode(source_, 0);
  SetMode(directory_.Path(), 0777);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CopyFile("source", "copy");
            }),
            Exception("Cannot read source", EACCES));
}

TEST_F(CopyFileFailure, DestinationThatCannotBeOpened) {
  const std::vector<std::pair<std::string, int>> rows = {
      {directory_.MakeDir("directory"), EISDIR},
      {Path("new/"), EISDIR},
      {directory_.Link("loop", "loop"), ELOOP},
      {Path(TooLongName()), ENAMETOOLONG},
      {"", ENOENT},
  };
  for (const auto& [destination, error] : rows) {
    EXPECT_EQ(FailureOfCopying(source_, destination),
              Exception("Cannot write into " + destination, error));
  }
}

TEST_F(CopyFileFailure, SourceThatIsExchangedForAPipeIsNeverWaitedFor) {
  const std::string pipe = directory_.Pipe("pipe");
  EXPECT_EQ(WhileExchanged(source_, pipe,
                           [this] {
                             const Failure failure = FailureOfCopying(source_, Path("copy"));
                             return failure == kNoFailure ||
                                    failure == Exception("Cannot read " + source_, EOPNOTSUPP);
                           }),
            "");
}

TEST_F(CopyFileFailure, DestinationThatIsExchangedForAPipeIsNeverWaitedFor) {
  const std::string copy = directory_.Write("copy", "old");
  const std::string pipe = directory_.Pipe("pipe");
  EXPECT_EQ(WhileExchanged(copy, pipe,
                           [&] {
                             const Failure failure = FailureOfCopying(source_, copy);
                             return failure == kNoFailure ||
                                    failure == Exception("Cannot write into " + copy, EOPNOTSUPP) ||
                                    failure == Exception("Cannot write into " + copy, ENXIO);
                           }),
            "");
}

TEST_F(CopyFileFailure, SourceThatIsClosedToTheUserIsNamedByWhatItIs) {
  SetMode(directory_.Pipe("pipe"), 0);
  SetMode(source_, 0);
  directory_.HardLink("same", source_);
  SetMode(directory_.Path(), 0777);
  const std::vector<std::pair<std::string, Failure>> rows = {
      {"pipe", Exception("Cannot read pipe", EOPNOTSUPP)},
      {"same", Exception("Cannot copy same to itself.")},
  };
  for (const auto& [name, failure] : rows) {
    EXPECT_EQ(IsolatedFailureOf([&, &from = name] {
                EnterAsOrdinaryUser(directory_);
                CopyFile(from, "source");
              }),
              failure);
  }
}

TEST_F(CopyFileFailure, DestinationThatIsAPipeIsNotWaitedFor) {
  const std::string pipe = directory_.Pipe("pipe");
  const std::string link = directory_.Link("link", "pipe");
  for (const std::string& destination : {pipe, link}) {
    EXPECT_EQ(FailureOfCopying(source_, destination),
              Exception("Cannot write into " + destination, EOPNOTSUPP));
  }
}

TEST_F(CopyFileFailure, DestinationInQuotesIsNormalisedForItsParentOnly) {
  const std::string quoted = "\"" + Path("a/copy") + "\"";
  EXPECT_EQ(FailureOfCopying(source_, quoted), Exception("Cannot write into " + quoted, ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "f 644 source = text"));
}

TEST_F(CopyFileFailure, DestinationThatTheUserMayNotWrite) {
  SetMode(directory_.Write("copy", "old"), 0444);
  SetMode(directory_.Path(), 0777);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CopyFile("source", "copy");
            }),
            Exception("Cannot write into copy", EACCES));
  EXPECT_EQ(ReadFile(Path("copy")), "old");
}

TEST_F(CopyFileFailure, DestinationBelowAFile) {
  const std::string file = directory_.Write("file", "");
  EXPECT_EQ(FailureOfCopying(source_, file + "/copy"),
            Exception("CreateDir - " + file + " is not a directory."));
  EXPECT_EQ(FailureOfCopying(source_, file + "/x/copy"),
            Exception("mkdir - " + file + "/x", ENOTDIR));
}

TEST_F(CopyFileFailure, WriteOnAFullDisk) {
  const std::string full = directory_.Link("full", "/dev/full");
  EXPECT_EQ(FailureOfCopying(source_, full), ExceptionErrno("Cannot write into " + full, ENOSPC));
}

TEST_F(CopyFileFailure, WriteThatTheSystemCutShortIsAFullDisk) {
  directory_.Write("long", Bytes(100'000));
  EXPECT_EQ(IsolatedFailureOf([this] {
              LimitFileSize(70'000);
              Enter(directory_);
              CopyFile("long", "copy");
            }),
            ExceptionErrno("Cannot write into copy", ENOSPC));
  EXPECT_TRUE(ReadFile(Path("copy")) == Bytes(100'000).substr(0, 70'000));
}

TEST_F(CopyFileFailure, WriteBeyondTheLimitOfAFile) {
  directory_.Write("long", Bytes(100'000));
  EXPECT_EQ(IsolatedFailureOf([this] {
              LimitFileSize(65'536);
              Enter(directory_);
              CopyFile("long", "copy");
            }),
            ExceptionErrno("Cannot write into copy", EFBIG));
  EXPECT_TRUE(ReadFile(Path("copy")) == Bytes(65'536));
}

TEST_F(CopyFileFailure, ReadErrorIsReportedLikeAFailedWrite) {
  const std::string directory = directory_.MakeDir("directory");
  EXPECT_EQ(FailureOfCopying(directory, Path("copy")),
            ExceptionErrno("Cannot write into " + Path("copy"), EISDIR));
}

TEST_F(CopyFileFailure, ErrorThatTheSystemReportsOnlyOnClosing) {
  const auto descriptors = OpenDescriptors();
  Failure failure;
  {
    const FailingCall late(FailingCall::kClose, EDQUOT);
    failure = FailureOfCopying(source_, Path("copy"));
  }
  EXPECT_EQ(failure, ExceptionErrno("Cannot write into " + Path("copy"), EDQUOT));
  EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(CopyFileFailure, TimesThatCannotBeSet) {
  // Everybody may write into this device, and only root may set its times.
  directory_.Link("device", "/dev/null");
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CopyFile("source", "device");
            }),
            ExceptionErrno("SetTime - device", EPERM));
}

}  // namespace
}  // namespace kvl::test
