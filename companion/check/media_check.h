// Checking a media: what the launcher would do with it, and what is wrong with it.
#pragma once

#include <string>
#include <vector>

#include "companion/check/media_report.h"

namespace kvl {

struct MediaCheckRequest {
  /// Of volume 1, or of one that holds it as `make` lays volumes out; absolute, or relative to where
  /// we are.
  std::string media_dir;
  std::string os_name;         ///< empty: from the environment, or else the start script
  std::string installer_name;  ///< likewise
  std::vector<std::string> launcher_arguments;
};

/// Does what a run of the launcher does up to the point where it would copy and start something, by
/// the same functions, so this process's environment changes. Changes nothing else, starts nothing,
/// of other files than text reads no more than the beginning, and waits for no file. What it cannot
/// look at is always among the findings.
MediaReport CheckMedia(const MediaCheckRequest& request);

/// A directory as the start script of a media would name it: absolute, links kept; only a path with
/// ".." in it is followed to where it leads. Empty when there is no such directory.
/// Throws std::system_error when the system cannot say what is there.
std::string MediaDirectory(const std::string& path);

}  // namespace kvl
