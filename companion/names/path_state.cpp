#include "companion/names/path_state.h"

#include <errno.h>

namespace kvl {
namespace {

/// Returns the state from a call that returned `result` and filled `status`.
PathState Seen(int result, const struct stat& status) {
  if (result != 0) return {.error = errno};
  return {.mode = status.st_mode,
          .owner = status.st_uid,
          .group = status.st_gid,
          .size = static_cast<std::uint64_t>(status.st_size),
          .identity = {status.st_dev, status.st_ino}};
}

}  // namespace

PathState StateAt(const std::string& path) {
  struct stat status;
  return Seen(::stat(path.c_str(), &status), status);
}

PathState StateOfEntry(const std::string& path) {
  struct stat status;
  return Seen(::lstat(path.c_str(), &status), status);
}

PathState StateOfOpen(int file) {
  struct stat status;
  return Seen(::fstat(file, &status), status);
}

}  // namespace kvl
