// FileDescriptor, the only owner of an open file. Internal: the library does not install this
// header.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <string>

namespace KVLInsIO::internal {

/// The flags for reading a file that somebody else has put on a disc. Opening does not wait, not
/// even for a pipe without a writer, and does not make a terminal the controlling one. Before
/// reading, ask what kind of file is open: a read that would have to wait fails with EAGAIN.
inline constexpr int kReadWithoutWaiting = O_RDONLY | O_NONBLOCK | O_NOCTTY;

class FileDescriptor {
 public:
  /// Opens `path` as open(2) does, always close-on-exec; `creation_mode` counts only with O_CREAT.
  /// After a failure, IsOpen() is false and errno holds the reason. Even with O_NONBLOCK, waits at
  /// most a minute for a lease that a file server holds on a regular file.
  FileDescriptor(const std::string& path, int flags, mode_t creation_mode = 0);

  /// Opens a name in a directory, or a path from there, as openat(2) does. Otherwise as above.
  FileDescriptor(const FileDescriptor& directory, const std::string& name, int flags,
                 mode_t creation_mode = 0);

  /// Takes over the other's file; the other is then not open. First closes its own file, and
  /// ignores an error of that.
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;

  /// Closes the file unless Close() has done so; ignores an error.
  ~FileDescriptor();

  FileDescriptor(const FileDescriptor&) = delete;

  bool IsOpen() const { return number_ >= 0; }
  int Number() const { return number_; }

  /// Closes the file. Returns false, with the reason in errno, if the system reports an error, for
  /// example data that a network file system could not store; the file is closed all the same. A
  /// second call closes nothing and returns false.
  bool Close();

 private:
  int number_;
};

}  // namespace KVLInsIO::internal
