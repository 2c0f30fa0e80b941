// Names of entries, which are taken as they are: how they make a path, and how long they may be.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvl {

/// The longest name that a Linux system reads whole from ISO 9660 with Rock Ridge, in bytes.
inline constexpr std::size_t kLongestDiscName = 253;

/// The directory's text, "/" and the name.
inline std::string PathBelow(std::string_view directory, std::string_view name) {
  std::string path(directory);
  return path.append("/").append(name);
}

/// The path from the root, without a "/" at its end. Links keep their names, unless a ".." may stand
/// behind one and leads where the system would go. The rest of it need not be there.
/// Throws std::filesystem::filesystem_error when the system cannot say, and for the empty path.
std::string AbsolutePath(const std::string& path);

}  // namespace kvl
