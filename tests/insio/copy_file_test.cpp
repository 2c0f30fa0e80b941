// CopyFile: one file, and all its failures.

#include <sys/xattr.h>

#include "insio/copy.h"
#include "tests/insio/in_own_directory.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

/// A directory that contains the file "source".
class CopyFileTest : public InOwnDirectory {
 protected:
  Failure FailureOfCopying(const std::string& source, const std::string& destination) const {
    return FailureOf([&] { CopyFile(source, destination); });
  }

  const std::string source_ = Write("source", "text");
};

using CopyFileFailure = CopyFileTest;

/// Returns so many bytes, of every value in turn.
std::string Bytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 % 256);
  return bytes;
}

TEST_F(CopyFileTest, ReadsBlocksOf65536BytesUntilTheEndOrAFailure) {
  const std::vector<std::pair<std::size_t, int>> rows = {
      {0, 1}, {1, 2}, {65'535, 2}, {65'536, 2}, {65'537, 3}, {131'072, 3}, {300'000, 6}};
  for (const auto& [size, reads] : rows) {
    Write("any", Bytes(size));
    for (const int allowed : {reads - 1, reads}) {
      const FailingCall none_after_these(FailingCall::kRead, EIO, allowed);
      EXPECT_EQ(
          FailureOfCopying(Path("any"), Path("copy")),
          allowed < reads ? ExceptionErrno("Cannot write into " + Path("copy"), EIO) : kNoFailure)
          << size;
    }
    EXPECT_TRUE(ReadFile(Path("copy")) == Bytes(size)) << size;
  }
}

TEST_F(CopyFileTest, GivesANewFileTheSourcesLowNineBitsLessTheUmask) {
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {0666, 0640},  {0755, 0750},  {0400, 0400},  {0777, 0750},
      {04755, 0750}, {02755, 0750}, {01644, 0640}, {07777, 0750}};
  const ScopedUmask umask(027);
  for (const auto& [mode, expected] : rows) {
    SetMode(source_, mode);
    CopyFile(source_, Path("copy"));
    EXPECT_EQ(ModeOf(Path("copy")), expected) << std::oct << mode;
    fs::remove(Path("copy"));
  }
}

TEST_F(CopyFileTest, TruncatesAnExistingFileAndKeepsItsModeAndLinks) {
  SetMode(source_, 0755);
  SetMode(Write("copy", Bytes(100'000)), 0600);
  HardLink("hard", Path("copy"));
  CopyFile(source_, Link("soft", "copy"));
  CopyFile(source_, Link("to_be_made", "made"));
  EXPECT_THAT(Tree(), ElementsAre("f 600 copy = text", "f 600 hard = text", "f 755 made = text",
                                  "f 755 source = text", "l soft -> copy", "l to_be_made -> made"));
}

TEST_F(CopyFileTest, NormalisesTheDestinationOnlyToMakeItsParents) {
  CopyFile(source_, Path("a/b//copy"));
  CopyFile(source_, Path("c\\copy"));
  EXPECT_EQ(FailureInside([] { CopyFile("source", "copy"); }), kNoFailure);
  EXPECT_EQ(FailureInside([] { CopyFile("source", "'d/copy'"); }),
            Exception("Cannot write into 'd/copy'", ENOENT));
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 a", "d 755 a/b", "d 755 c", "d 755 d", "f 644 a/b/copy = text",
                          "f 644 c\\copy = text", "f 644 copy = text", "f 644 source = text"));
}

TEST_F(CopyFileTest, TakesTheSourcesTimesInWholeSeconds) {
  Write("existing", "old");
  for (const long modification : {0, 1'234'567'890}) {
    const timespec times[] = {{1'000'000'000, 900'000'000}, {modification, 700'000'000}};
    for (const std::string& copy : {Path("new"), Path("existing")}) {
      ASSERT_EQ(::utimensat(AT_FDCWD, source_.c_str(), times, 0), 0);
      CopyFile(source_, copy);
      EXPECT_EQ(Nanoseconds(StatusOf(copy).st_atim), 1'000'000'000 * kSecond) << copy;
      EXPECT_EQ(Nanoseconds(StatusOf(copy).st_mtim), modification * kSecond) << copy;
    }
    fs::remove(Path("new"));
  }
}

TEST_F(CopyFileTest, OfAccessTimeZeroLeavesTheCopyItsOwnTimes) {
  const std::int64_t now = Nanoseconds(StatusOf(Write("now", "")).st_mtim);
  SetTimes(Write("existing", "old"), 5, 6);
  for (const std::string name : {"existing", "new"}) {
    SetTimes(source_, 0, 1'234'567'890);
    CopyFile(source_, Path(name));
    EXPECT_GE(Nanoseconds(StatusOf(Path(name)).st_mtim), now);
  }
  EXPECT_EQ(Nanoseconds(StatusOf(Path("existing")).st_atim), 5 * kSecond);
  EXPECT_GE(Nanoseconds(StatusOf(Path("new")).st_atim), now);
}

TEST_F(CopyFileTest, DoesNotCopyTheOwner) {
  const std::string of_root = "/bin/sh";  // on every system
  SetMode(Path(), 0777);
  EXPECT_EQ(FailureAsOrdinaryUser([&] { CopyFile(of_root, "copy"); }), kNoFailure);
  EXPECT_NE(StatusOf(Path("copy")).st_uid, StatusOf(of_root).st_uid);
  EXPECT_TRUE(ReadFile(Path("copy")) == ReadFile(of_root));
}

TEST_F(CopyFileTest, CopiesNeitherOwnerNorGroupNorAttributes) {
  constexpr char kAttribute[] = "user.kvl";
  GiveToOrdinaryUser(source_);
  const bool has_attribute = ::setxattr(source_.c_str(), kAttribute, "a", 1, 0) == 0;
  CopyFile(source_, Path("copy"));
  EXPECT_EQ(StatusOf(Path("copy")).st_uid, ::geteuid());
  EXPECT_EQ(StatusOf(Path("copy")).st_gid, ::getegid());
  if (has_attribute) {
    EXPECT_LT(::getxattr(Path("copy").c_str(), kAttribute, nullptr, 0), 0);
  }
}

TEST_F(CopyFileTest, OverwritesAnotherFileOfTheSameSizeAndTime) {
  const std::string other = Write("other", "abcd");
  SetTimes(source_, 1, 2);
  SetTimes(other, 1, 2);
  CopyFile(source_, other);
  EXPECT_EQ(ReadFile(other), "text");
}

TEST_F(CopyFileFailure, ComesFromACopyOntoItself) {
  for (const std::string& same :
       {source_, Path(".//source"), HardLink("hard", source_), Link("soft", "source")}) {
    EXPECT_EQ(FailureOfCopying(source_, same), Exception("Cannot copy " + source_ + " to itself."));
    EXPECT_EQ(FailureOfCopying(same, source_), Exception("Cannot copy " + same + " to itself."));
  }
  EXPECT_EQ(ReadFile(source_), "text");
}

TEST_F(CopyFileFailure, NamesTheStepAndChangesNothing) {
  const std::string copy = Path("copy"), missing = Path("missing"), below = Path("source/x");
  const std::string dangling = Link("dangling", "nowhere"), loop = Link("loop", "loop");
  const std::string long_name = Path(TooLongName()), directory = MakeDir("directory");
  const std::string socket = MakeSocket(*this, "socket"), pipe = Pipe("pipe");
  const std::string to_pipe = Link("to_pipe", "pipe"), full = Link("full", "/dev/full");
  const auto no_look = [](const std::string& source, int error) {
    return ExceptionErrno("Cannot stat " + source, error);
  };
  const auto no_writing = [](const std::string& destination, int error) {
    return Exception("Cannot write into " + destination, error);
  };
  const auto before = Tree();
  for (const auto& row : std::vector<CallWithTwoPaths>{
           {"an empty source", "", copy, no_look("", ENOENT)},
           {"a missing source", missing, copy, no_look(missing, ENOENT)},
           {"a dangling source", dangling, copy, no_look(dangling, ENOENT)},
           {"a source that leads to itself", loop, copy, no_look(loop, ELOOP)},
           {"a source below a file", below, copy, no_look(below, ENOTDIR)},
           {"a source of too long a name", long_name, copy, no_look(long_name, ENAMETOOLONG)},
           {"a socket as source", socket, copy, Exception("Cannot read " + socket, ENXIO)},
           {"an empty destination", source_, "", no_writing("", ENOENT)},
           {"a directory as destination", source_, directory, no_writing(directory, EISDIR)},
           {"a slash behind it", source_, Path("new/"), no_writing(Path("new/"), EISDIR)},
           {"a destination that leads to itself", source_, loop, no_writing(loop, ELOOP)},
           {"too long a name", source_, long_name, no_writing(long_name, ENAMETOOLONG)},
           {"a pipe as destination", source_, pipe, no_writing(pipe, EOPNOTSUPP)},
           {"a link to a pipe", source_, to_pipe, no_writing(to_pipe, EOPNOTSUPP)},
           {"a destination in a file", source_, below,
            Exception("CreateDir - " + source_ + " is not a directory.")},
           {"a destination below a file", source_, below + "/y",
            Exception("mkdir - " + below, ENOTDIR)},
           {"a full disk", source_, full, ExceptionErrno("Cannot write into " + full, ENOSPC)},
       }) {
    EXPECT_EQ(FailureOfCopying(row.source, row.destination), row.failure) << row.name;
  }
  EXPECT_EQ(Tree(), before);
}

TEST_F(CopyFileFailure, OfTheSourceLeavesTheParentsMadeForTheCopy) {
  EXPECT_EQ(FailureOfCopying(Path("missing"), Path("a/b/copy")),
            ExceptionErrno("Cannot stat " + Path("missing"), ENOENT));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "f 644 source = text"));
}

TEST_F(CopyFileFailure, OfAnOrdinaryUserNamesTheForbiddenPath) {
  SetMode(Write("secret", "text"), 0);
  HardLink("same", Path("secret"));
  SetMode(Pipe("pipe"), 0);
  SetMode(Write("read_only", "old"), 0444);
  // Everybody may write to this device, but only root may set its times.
  Link("device", "/dev/null");
  SetMode(Path(), 0777);
  for (const auto& row : std::vector<CallWithTwoPaths>{
           {"a closed source", "secret", "copy", Exception("Cannot read secret", EACCES)},
           {"a closed pipe is a pipe", "pipe", "copy", Exception("Cannot read pipe", EOPNOTSUPP)},
           {"a closed file onto itself", "same", "secret",
            Exception("Cannot copy same to itself.")},
           {"a read-only destination", "source", "read_only",
            Exception("Cannot write into read_only", EACCES)},
           {"times that cannot be set", "source", "device",
            ExceptionErrno("SetTime - device", EPERM)},
       }) {
    EXPECT_EQ(FailureAsOrdinaryUser([&] { CopyFile(row.source, row.destination); }), row.failure)
        << row.name;
  }
  EXPECT_EQ(ReadFile(Path("read_only")), "old");
}

TEST_F(CopyFileFailure, NeverWaitsForAFileThatIsExchangedForAPipe) {
  const std::string copy = Path("copy"), no_writing = "Cannot write into " + copy;
  const std::vector<std::pair<std::string, std::vector<Failure>>> rows = {
      {source_, {kNoFailure, Exception("Cannot read " + source_, EOPNOTSUPP)}},
      {copy, {kNoFailure, Exception(no_writing, EOPNOTSUPP), Exception(no_writing, ENXIO)}}};
  for (const auto& [exchanged, allowed] : rows) {
    Clear();
    Make({"source", "copy"});
    const auto is_allowed = [&, &allowed = allowed] {
      return std::ranges::count(allowed, FailureOfCopying(source_, copy)) > 0;
    };
    EXPECT_EQ(WhileExchanged(exchanged, Pipe("pipe"), is_allowed), "") << exchanged;
  }
}

TEST_F(CopyFileFailure, OfAWriteThatIsCutShortKeepsWhatWasWritten) {
  struct Limited {
    unsigned limit;
    int error;
  };
  Write("long", Bytes(100'000));
  // The system takes a part of a block, or nothing of it.
  for (const auto& [limit, error] : {Limited{70'000, ENOSPC}, Limited{65'536, EFBIG}}) {
    EXPECT_EQ(FailureInside([limit = limit] {
                LimitFileSize(limit);
                CopyFile("long", "copy");
              }),
              ExceptionErrno("Cannot write into copy", error));
    EXPECT_TRUE(ReadFile(Path("copy")) == Bytes(limit)) << limit;
  }
}

}  // namespace
}  // namespace kvl::test
