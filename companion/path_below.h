// Paths of entries, whose names are taken as they are.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

/// The directory's text, "/" and the name.
inline std::string PathBelow(std::string_view directory, std::string_view name) {
  std::string path(directory);
  return path.append("/").append(name);
}

}  // namespace kvl
