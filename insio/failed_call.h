// From an error number to an exception. Internal, not part of the library's installed interface.
#pragma once

#include <errno.h>

#include <string>

namespace KVLInsIO::internal {

/// Throws an `Exception` with `what` and `path` and the text of errno, unless `is_done`. To be called
/// with the system call in the place of `is_done`: errno is saved before the message is composed.
template <typename Exception>
void ThrowUnless(bool is_done, const char* what, const std::string& path) {
  const int error = errno;
  if (!is_done) throw Exception(what + path, error);
}

}  // namespace KVLInsIO::internal
