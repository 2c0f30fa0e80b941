#include "insio/file_descriptor.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <ctime>
#include <utility>

namespace KVLInsIO::internal {
namespace {

// A file server may hold a lease on a file for one of its clients. Opening the file then asks for
// the lease and fails at once. The client gives it up, or the system takes it after 45 seconds
// (fcntl(2)).
constexpr timespec kPause = {0, 10'000'000};
constexpr int kMostTries = 6'000;

template <typename Opening>
int OpenPastLeases(const Opening& open) {
  for (int tries = 0;; ++tries) {
    const int number = open();
    if (number >= 0 || errno != EWOULDBLOCK || tries == kMostTries) return number;
    ::nanosleep(&kPause, nullptr);
  }
}

}  // namespace

FileDescriptor::FileDescriptor(const std::string& path, int flags, mode_t creation_mode)
    : number_(
          OpenPastLeases([&] { return ::open(path.c_str(), flags | O_CLOEXEC, creation_mode); })) {}

FileDescriptor::FileDescriptor(const FileDescriptor& directory, const std::string& name, int flags,
                               mode_t creation_mode)
    : number_(OpenPastLeases([&] {
        return ::openat(directory.Number(), name.c_str(), flags | O_CLOEXEC, creation_mode);
      })) {}

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
