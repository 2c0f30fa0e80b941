// Turns an error number into an exception. Internal: the library does not install this header.
#pragma once

#include <errno.h>

#include <string>

namespace KVLInsIO::internal {

/// Throws an `Exception` with `what`, `path` and the text of errno unless `is_done`. Write the
/// system call in the place of `is_done`: the function saves errno before it composes the message.
template <typename Exception>
void ThrowUnless(bool is_done, const char* what, const std::string& path) {
  const int error = errno;
  if (!is_done) throw Exception(what + path, error);
}

}  // namespace KVLInsIO::internal
