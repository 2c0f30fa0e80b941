// The descriptors that the launcher was started with.
#pragma once

#include <string_view>

namespace kvl {

/// Called once, before any file is opened:
///  - a standard stream that the caller left closed is occupied by a descriptor on which nothing can
///    be read or written, so that no file opened later takes its place and receives messages; the
///    child finds the stream closed, as the caller left it;
///  - a program started as "/proc/self/fd/<number>" was started through that descriptor, which only
///    served to find it: it is closed. `own_name` is the name that the program was started by, its
///    argument 0, or empty; of a standard stream nothing is closed.
/// Every other descriptor that the caller left open is the caller's to give, and stays as it is.
/// Reports no failure: where the system refuses, the descriptors stay as they were.
void PrepareDescriptors(std::string_view own_name);

}  // namespace kvl
