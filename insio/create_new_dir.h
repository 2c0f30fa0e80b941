// Creates one directory, for copies of trees. Internal: the library does not install this header.
#pragma once

#include <string>

namespace KVLInsIO::internal {

/// Creates one directory in an existing one, with mode 755 less the umask. Takes the path as
/// CreateDirExactly does. Returns true if this call created it, so that it is empty. Returns false
/// otherwise, for example if something exists there or CreateDir would take the last component for
/// ".". Never throws.
[[nodiscard]] bool CreateNewDirExactly(const std::string& path);

}  // namespace KVLInsIO::internal
