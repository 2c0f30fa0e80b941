// The directories that somebody names in a call.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "companion/check/media_check.h"

namespace kvl {

/// Each as MediaDirectory has it. Throws std::runtime_error "not a directory: " + path, and as
/// MediaDirectory does.
inline std::vector<std::string> MediaDirectories(const std::vector<std::string>& paths) {
  std::vector<std::string> directories;
  for (const std::string& path : paths) {
    directories.push_back(MediaDirectory(path));
    if (directories.back().empty()) throw std::runtime_error("not a directory: " + path);
  }
  return directories;
}

}  // namespace kvl
