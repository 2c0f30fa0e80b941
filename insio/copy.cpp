#include "insio/copy.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "insio/create_dir.h"
#include "insio/exceptions.h"
#include "insio/file_attributes.h"
#include "insio/file_descriptor.h"
#include "insio/finder.h"
#include "insio/path.h"
#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

constexpr std::size_t kBufferSize = 65536;
constexpr mode_t kPermissionBits = 0777;

bool IsSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
         left.st_size == right.st_size && left.st_mtime == right.st_mtime;
}

/// Copies all bytes. Returns 0, or the error's number; a write that took only a part counts as a
/// full disk, so that a cut-off file is never taken for a whole one.
/// Never inlined: the buffer must not stand in every frame of a tree's recursion.
[[gnu::noinline]] int CopyBytes(const FileDescriptor& from, const FileDescriptor& to) {
  std::array<char, kBufferSize> buffer;  // not cleared: every byte is read before it is written
  for (;;) {
    const ssize_t length = ::read(from.Number(), buffer.data(), buffer.size());
    if (length == 0) return 0;
    if (length < 0) return errno;
    const ssize_t written = ::write(to.Number(), buffer.data(), static_cast<std::size_t>(length));
    if (written < 0) return errno;
    if (written < length) return ENOSPC;
  }
}

void CopyContents(const std::string& source, const std::string& destination, mode_t new_file_mode) {
  const FileDescriptor from(source, O_RDONLY);
  if (!from.IsOpen()) {
    const int error = errno;
    throw KVLInsException("Cannot read " + source, error);
  }
  FileDescriptor to(destination, O_WRONLY | O_CREAT | O_TRUNC, new_file_mode);
  if (!to.IsOpen()) {
    const int error = errno;
    throw KVLInsException("Cannot write into " + destination, error);
  }
  int error = CopyBytes(from, to);
  if (!to.Close() && error == 0) error = errno;  // a network file system may fail as late as here
  if (error != 0) throw KVLInsExceptionErrno("Cannot write into " + destination, error);
}

}  // namespace

void Copy(const std::string& source, const std::string& destination) {
  if (source.empty()) throw KVLInsException("Copy - empty source path");
  if (destination.empty()) throw KVLInsException("Copy - empty destination path");
  if (IsDirectory(source)) {
    CopyDir(source, destination);
  } else {
    CopyFile(source, destination);
  }
}

void CopyFile(const std::string& source, const std::string& destination) {
  const InsPath parent = InsPath(destination).Parent();
  if (!parent.IsEmpty()) CreateDir(parent.Str());

  struct stat from;
  if (::stat(source.c_str(), &from) != 0) {
    const int error = errno;
    throw KVLInsExceptionErrno("Cannot stat " + source, error);
  }
  struct stat to;
  if (::stat(destination.c_str(), &to) == 0 && IsSameFile(from, to)) {
    throw KVLInsException("Cannot copy " + source + " to itself.");
  }
  CopyContents(source, destination, from.st_mode & kPermissionBits);
  if (from.st_atime != 0) SetTime(destination, from.st_atime, from.st_mtime);
}

void CopyDir(const std::string& source, const std::string& destination) {
  InsFileFinder finder = FindFirstFile(source, kDirectoryOrFile);
  const bool is_empty = finder.AtEnd();
  std::string target = destination;
  target.append(kPathSeparator);
  const std::size_t target_prefix = target.size();
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    target.resize(target_prefix);
    target.append(finder.Name());
    if (finder.IsDirectory()) {
      CopyDir(finder.FullPath(), target);
    } else {
      CopyFile(finder.FullPath(), target);
    }
  }
  finder.ThrowIfCutShort();
  finder.Close();
  if (is_empty) CreateDir(destination);
}

}  // namespace KVLInsIO
