#include "insio/file_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace KVLInsIO::internal {

FileDescriptor::FileDescriptor(const std::string& path, int flags, mode_t creation_mode)
    : number_(::open(path.c_str(), flags | O_CLOEXEC, creation_mode)) {}

FileDescriptor::FileDescriptor(const FileDescriptor& directory, const std::string& name, int flags,
                               mode_t creation_mode)
    : number_(::openat(directory.Number(), name.c_str(), flags | O_CLOEXEC, creation_mode)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this == &other) return *this;
  if (IsOpen()) Close();
  number_ = std::exchange(other.number_, -1);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (IsOpen()) Close();
}

bool FileDescriptor::Close() {
  return ::close(std::exchange(number_, -1)) == 0;
}

}  // namespace KVLInsIO::internal
