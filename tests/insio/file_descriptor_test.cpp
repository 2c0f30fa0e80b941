#include "insio/file_descriptor.h"

#include "tests/insio/in_own_directory.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using KVLInsIO::internal::FileDescriptor;
using KVLInsIO::internal::kReadWithoutWaiting;

/// A directory that contains a file.
class Descriptor : public InOwnDirectory {
 protected:
  const std::string path_ = Write("sub/file", "text");
};

/// Returns the inode of the open file; 0 without one.
ino_t InodeOf(const FileDescriptor& file) {
  struct stat status;
  return ::fstat(file.Number(), &status) == 0 ? status.st_ino : 0;
}

TEST_F(Descriptor, OpensAFileWithItsFlagsAndClosesItOnExec) {
  const FileDescriptor file(path_, O_RDONLY);
  char contents[5] = {};
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(::read(file.Number(), contents, sizeof(contents)), 4);
  EXPECT_STREQ(contents, "text");
  EXPECT_EQ(::write(file.Number(), contents, 1), -1);
  EXPECT_EQ(::fcntl(file.Number(), F_GETFD), FD_CLOEXEC);
}

TEST_F(Descriptor, OpensANameInADirectory) {
  const FileDescriptor sub(Path("sub"), O_PATH | O_DIRECTORY);
  const FileDescriptor file(sub, "file", O_RDONLY), parent(sub, "..", O_PATH);
  EXPECT_EQ(InodeOf(file), StatusOf(path_).st_ino);
  EXPECT_EQ(InodeOf(parent), StatusOf(Path()).st_ino);
  EXPECT_EQ(::fcntl(file.Number(), F_GETFD), FD_CLOEXEC);
  EXPECT_FALSE(FileDescriptor(sub, "missing", O_RDONLY).IsOpen());
}

TEST_F(Descriptor, IsTakenOverAndClosedWhenReplacedOrDestroyed) {
  FileDescriptor first(path_, O_RDONLY), second(path_, O_RDONLY);
  const FileDescriptor missing(Path("missing"), O_RDONLY);
  const int number = second.Number();
  first = std::move(second);
  EXPECT_EQ(first.Number(), number);
  EXPECT_EQ(OpenDescriptors().size(), descriptors_.size() + 1);
  FileDescriptor& itself = first;
  first = std::move(itself);
  EXPECT_EQ(first.Number(), number);
}

TEST_F(Descriptor, ClosesItsFileOnce) {
  std::optional<FileDescriptor> closed(std::in_place, path_, O_RDONLY);
  EXPECT_TRUE(closed->Close());
  EXPECT_FALSE(closed->IsOpen());
  const FileDescriptor other(path_, O_RDONLY);  // takes the number that is free again
  EXPECT_FALSE(closed->Close());
  closed.reset();
  EXPECT_TRUE(InodeOf(other) == StatusOf(path_).st_ino);
}

TEST_F(Descriptor, MayHaveTheNumberOfAStandardStreamThatIsClosed) {
  EXPECT_EQ(RunIsolated([] {
              ::close(STDIN_FILENO);
              FileDescriptor file("/dev/null", O_RDONLY);
              if (file.Number() != STDIN_FILENO || !file.IsOpen()) return 1;
              if (!file.Close() || file.IsOpen()) return 2;
              return ::fcntl(STDIN_FILENO, F_GETFD) < 0 ? 0 : 3;
            }).status,
            0);
}

TEST_F(Descriptor, ReportsALateErrorAndIsClosedAllTheSame) {
  FileDescriptor file(path_, O_WRONLY);
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
  EXPECT_EQ(OpenDescriptors(), descriptors_);
}

int leased_file = -1;

TEST_F(Descriptor, WaitsUntilALeaseOnTheFileIsGivenUp) {
  leased_file = ::open(path_.c_str(), O_RDONLY);
  const auto give_up = [](int) { ::fcntl(leased_file, F_SETLEASE, F_UNLCK); };
  const auto before = ::signal(SIGIO, give_up);
  const bool has_lease = ::fcntl(leased_file, F_SETLEASE, F_WRLCK) == 0;
  EXPECT_TRUE(FileDescriptor(path_, kReadWithoutWaiting).IsOpen());
  ::signal(SIGIO, before);
  ::close(leased_file);
  if (!has_lease) GTEST_SKIP() << "the file system knows no leases";
}

}  // namespace
}  // namespace kvl::test
