// Paths made of names, which stay as they are, and the longest name on a disc.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvl {

/// The longest name that a Linux system reads whole from ISO 9660 with Rock Ridge, in bytes.
inline constexpr std::size_t kLongestDiscName = 253;

/// Returns the text of the directory, "/" and the name.
inline std::string PathBelow(std::string_view directory, std::string_view name) {
  std::string path(directory);
  return path.append("/").append(name);
}

/// Returns the path from the root, without "/" at its end. Keeps the names of links, except in a
/// path with "..", which is resolved as the system resolves it. The entry need not exist. Throws
/// std::filesystem::filesystem_error for the empty path, and if the system cannot resolve the path.
std::string AbsolutePath(const std::string& path);

}  // namespace kvl
