// FileDescriptor: the one owner of an open file. Internal to the program, not part of the library's
// installed interface.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <string>

namespace KVLInsIO::internal {

/// The flags for reading what somebody else has put on a disc. Opening does not wait, as it would for
/// a pipe without a writer, and does not make a terminal that of the process. Ask the open file what
/// it is before reading: a read that would have to wait fails with EAGAIN.
inline constexpr int kReadWithoutWaiting = O_RDONLY | O_NONBLOCK | O_NOCTTY;

class FileDescriptor {
 public:
  /// Opens `path` as open(2) does, close-on-exec in any case; `creation_mode` counts only with
  /// O_CREAT. Ask IsOpen(): after a failure it is false and errno holds the reason. With
  /// O_NONBLOCK, too, a lease that a file server holds on a regular file is waited for, at most a
  /// minute.
  FileDescriptor(const std::string& path, int flags, mode_t creation_mode = 0);

  /// The same for a name in a directory, or a path from there, as openat(2) does it.
  FileDescriptor(const FileDescriptor& directory, const std::string& name, int flags,
                 mode_t creation_mode = 0);

  /// Takes the file over; the other one is then not open. A file that is replaced is closed, and an
  /// error of that is lost.
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;

  /// Closes the file if Close() has not done so; an error of that is lost.
  ~FileDescriptor();

  FileDescriptor(const FileDescriptor&) = delete;

  bool IsOpen() const { return number_ >= 0; }
  int Number() const { return number_; }

  /// Closes the file. False, with the reason in errno, when the system reports an error, such as
  /// data that a network file system could not store; the file is closed all the same.
  /// A second call closes nothing and is false.
  bool Close();

 private:
  int number_;
};

}  // namespace KVLInsIO::internal
