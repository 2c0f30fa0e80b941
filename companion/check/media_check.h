// The check of a media: what the launcher would do with it, and what is wrong with it.
#pragma once

#include <string>
#include <vector>

#include "companion/check/media_report.h"

namespace kvl {

struct MediaCheckRequest {
  /// The directory of volume 1, or one that holds volume 1 in a layout of `make`; absolute or
  /// relative to the working directory.
  std::string media_dir;
  std::string os_name;         ///< if empty, the environment or else the start script names it
  std::string installer_name;  ///< if empty, the environment or else the start script names it
  std::vector<std::string> launcher_arguments;
};

/// Runs the launcher's own functions up to the point where the launcher would copy or start
/// something. Changes the environment of this process, but nothing else. Starts nothing, waits for
/// no file, and reads only the beginning of files that are not text. Adds a finding for all that it
/// cannot look at.
MediaReport CheckMedia(const MediaCheckRequest& request);

/// Returns the path of a directory as the start script of a media names it: absolute, with its
/// links; only in a path with ".." the links are resolved. Returns an empty text if there is no
/// such directory. Throws std::system_error if the system cannot look at the path.
std::string MediaDirectory(const std::string& path);

}  // namespace kvl
