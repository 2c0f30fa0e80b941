// The descriptors that the launcher inherits.
#pragma once

#include <string_view>

namespace kvl {

/// Puts the inherited descriptors in order. Call it once, before the launcher opens any file.
///  - If the caller closed a standard stream, opens a descriptor in its place that nobody can read
///    or write, so that no file opened later takes that place and receives messages. The child
///    finds the stream closed, as the caller left it.
///  - If the caller started the launcher as "/proc/self/fd/<number>", closes that descriptor, which
///    served only to find the program. `own_name` is the launcher's argument 0, or empty. Closes no
///    standard stream.
///
/// Leaves every other descriptor as it is: the caller may mean it for the installer. Reports no
/// failure; where the system refuses, the descriptors stay as they were.
void PrepareDescriptors(std::string_view own_name);

}  // namespace kvl
