// The directories of a media that a call names.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "companion/check/media_check.h"

namespace kvl {

/// Returns the message for a path that is not a directory.
inline std::string NotAMediaDirectory(const std::string& path) {
  return "DIR is not a directory: " + path +
         "; name the directory of a volume, or the one that holds volumes as 1, 2, ...";
}

/// Returns what MediaDirectory returns for each path. Throws std::runtime_error when one of them is
/// not a directory, and what MediaDirectory throws.
inline std::vector<std::string> MediaDirectories(const std::vector<std::string>& paths) {
  std::vector<std::string> directories;
  for (const std::string& path : paths) {
    directories.push_back(MediaDirectory(path));
    if (directories.back().empty()) throw std::runtime_error(NotAMediaDirectory(path));
  }
  return directories;
}

}  // namespace kvl
