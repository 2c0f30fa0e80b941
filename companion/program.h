// kvl-media, the whole program: checks and makes installation media.
#pragma once

#include <string>
#include <vector>

namespace kvl {

/// What the program ends with.
enum MediaStatus : int {
  kFine = 0,      ///< no findings, or the media was made
  kProblems = 1,  ///< findings, or a media that could not be made
  kBadCall = 2,   ///< a bad call, or a report that could not be written
};

/// Does what the arguments ask for, the program's own name not among them, and writes to the console.
/// Gives back a MediaStatus. Throws nothing.
int RunKvlMedia(const std::vector<std::string>& arguments);

}  // namespace kvl
