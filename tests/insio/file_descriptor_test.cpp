#include "insio/file_descriptor.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include <gtest/gtest.h>

#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using KVLInsIO::FileDescriptor;

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

}  // namespace
}  // namespace kvl::test
