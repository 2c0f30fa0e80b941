#include "insio/file_descriptor.h"

#include <memory>

#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::internal::FileDescriptor;
using KVLInsIO::internal::kReadWithoutWaiting;

TEST(FileDescriptor, OpensAFileForTheseFlags) {
  const TestDirectory directory;
  const FileDescriptor file(directory.Write("file", "text"), O_RDONLY);
  char contents[4] = {};
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(::read(file.Number(), contents, sizeof(contents)), 4);
  EXPECT_EQ(std::string(contents, sizeof(contents)), "text");
}

TEST(FileDescriptor, MakesAFileWithItsModeLessTheUmask) {
  const ScopedUmask umask(026);
  const TestDirectory directory;
  const FileDescriptor file(directory.Path("new"), O_WRONLY | O_CREAT, 0777);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(ModeOf(directory.Path("new")), 0751U);
}

TEST(FileDescriptor, KeepsTheReasonOfAFailureInErrno) {
  const TestDirectory directory;
  const FileDescriptor file(directory.Path("missing"), O_RDONLY);
  const int error = errno;
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(error, ENOENT);
}

TEST(FileDescriptor, OpensANameInADirectory) {
  const TestDirectory directory;
  directory.Write("sub/file", "text");
  const FileDescriptor sub(directory.Path("sub"), O_PATH | O_DIRECTORY);
  const FileDescriptor file(sub, "file", O_RDONLY), parent(sub, "..", O_PATH);
  const FileDescriptor missing(sub, "missing", O_RDONLY);
  struct stat opened;
  ASSERT_EQ(::fstat(file.Number(), &opened), 0);
  EXPECT_EQ(opened.st_ino, StatusOf(directory.Path("sub/file")).st_ino);
  ASSERT_EQ(::fstat(parent.Number(), &opened), 0);
  EXPECT_EQ(opened.st_ino, StatusOf(directory.Path()).st_ino);
  EXPECT_EQ(::fcntl(file.Number(), F_GETFD), FD_CLOEXEC);
  EXPECT_FALSE(missing.IsOpen());
}

TEST(FileDescriptor, IsTakenOverAndTheFileReplacedIsClosed) {
  const TestDirectory directory;
  const std::string path = directory.Write("file", "");
  const auto before = OpenDescriptors();
  FileDescriptor first(path, O_RDONLY);
  FileDescriptor second(path, O_RDONLY);
  const int number = second.Number();
  first = std::move(second);
  EXPECT_EQ(first.Number(), number);
  EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  FileDescriptor& itself = first;
  first = std::move(itself);
  EXPECT_EQ(first.Number(), number);
}

TEST(FileDescriptor, IsHandedToNoOtherProgram) {
  const TestDirectory directory;
  const FileDescriptor file(directory.Write("file", ""), O_RDONLY);
  EXPECT_EQ(::fcntl(file.Number(), F_GETFD), FD_CLOEXEC);
}

TEST(FileDescriptor, ClosesItsFileWhenItIsDestroyed) {
  const TestDirectory directory;
  directory.Write("file", "");
  const auto before = OpenDescriptors();
  {
    const FileDescriptor file(directory.Path("file"), O_RDONLY);
    const FileDescriptor missing(directory.Path("missing"), O_RDONLY);
    EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(FileDescriptor, ClosesItsFileOnce) {
  const TestDirectory directory;
  const std::string path = directory.Write("file", "");
  auto closed = std::make_unique<FileDescriptor>(path, O_RDONLY);
  EXPECT_TRUE(closed->Close());
  EXPECT_FALSE(closed->IsOpen());
  const FileDescriptor other(path, O_RDONLY);  // takes the number that has become free
  closed.reset();
  EXPECT_EQ(::fcntl(other.Number(), F_GETFD), FD_CLOEXEC);
}

TEST(FileDescriptor, MayHaveTheNumberOfAStandardStreamThatIsClosed) {
  EXPECT_EQ(RunIsolated([] {
              ::close(STDIN_FILENO);
              FileDescriptor file("/dev/null", O_RDONLY);
              if (file.Number() != STDIN_FILENO || !file.IsOpen()) return 1;
              if (!file.Close() || file.IsOpen()) return 2;
              return ::fcntl(STDIN_FILENO, F_GETFD) < 0 ? 0 : 3;
            }).status,
            0);
}

TEST(FileDescriptor, ReportsALateErrorAndIsClosedAllTheSame) {
  const TestDirectory directory;
  const std::string path = directory.Write("file", "");
  const auto before = OpenDescriptors();
  FileDescriptor file(path, O_WRONLY);
  bool closed = true;
  int error = 0;
  {
    const FailingCall failing(FailingCall::kClose, EIO, /*after=*/0, /*times=*/1);
    closed = file.Close();
    error = errno;
  }
  EXPECT_FALSE(closed);
  EXPECT_EQ(error, EIO);
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(OpenDescriptors(), before);
}

/// Another process that holds a lease on a file until somebody wants to open it.
class LeaseHolder {
 public:
  explicit LeaseHolder(const std::string& path) {
    int ends[2];
    if (::pipe(ends) != 0) return;
    child_ = ::fork();
    if (child_ == 0) Hold(path, ends[1]);
    ::close(ends[1]);
    char answer = 'n';
    holds_ = ::read(ends[0], &answer, 1) == 1 && answer == 'y';
    ::close(ends[0]);
  }
  ~LeaseHolder() { ::waitpid(child_, nullptr, 0); }
  LeaseHolder(const LeaseHolder&) = delete;
  LeaseHolder& operator=(const LeaseHolder&) = delete;

  bool Holds() const { return holds_; }

 private:
  [[noreturn]] static void Hold(const std::string& path, int answer_to) {
    sigset_t asked;
    ::sigemptyset(&asked);
    ::sigaddset(&asked, SIGIO);
    ::sigprocmask(SIG_BLOCK, &asked, nullptr);
    const int file = ::open(path.c_str(), O_RDONLY);
    const bool has_lease = ::fcntl(file, F_SETLEASE, F_WRLCK) == 0;
    const bool is_told = ::write(answer_to, has_lease ? "y" : "n", 1) == 1;
    int signal = 0;
    if (has_lease && is_told) ::sigwait(&asked, &signal);
    ::_exit(0);  // which gives the lease up
  }

  pid_t child_ = -1;
  bool holds_ = false;
};

TEST(FileDescriptor, WaitsForALeaseThatAnotherProcessHoldsOnTheFile) {
  const TestDirectory directory;
  const std::string path = directory.Write("file", "text");
  const LeaseHolder holder(path);
  if (!holder.Holds()) GTEST_SKIP() << "the file system knows no leases";
  const FileDescriptor file(path, kReadWithoutWaiting);
  EXPECT_TRUE(file.IsOpen());
}

}  // namespace
}  // namespace kvl::test
