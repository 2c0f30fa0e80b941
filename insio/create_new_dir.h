// Making one directory, for copies of trees. Internal, not part of the library's installed
// interface.
#pragma once

#include <string>

namespace KVLInsIO::internal {

/// Makes one directory in one that exists, with mode 755 less the umask, the path taken as in
/// CreateDirExactly. True when this call has made it, so that nothing is in it yet; false when not,
/// for whatever reason, such as that something exists there, or that the last component is "." in the
/// sense of CreateDir. Never throws.
[[nodiscard]] bool CreateNewDirExactly(const std::string& path);

}  // namespace KVLInsIO::internal
