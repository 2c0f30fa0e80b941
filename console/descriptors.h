// The descriptors that the launcher was started with.
#pragma once

namespace kvl {

/// Called once, before any file is opened:
///  - a standard stream that the caller left closed is occupied by a descriptor on which nothing can
///    be read or written, so that no file opened later takes its place and receives messages; the
///    child finds the stream closed, as the caller left it;
///  - every further descriptor that the caller left open is marked close-on-exec, so that the child
///    gets the three standard streams and nothing else.
/// Reports no failure: where the system refuses, the descriptors stay as they were.
void PrepareDescriptors();

}  // namespace kvl
