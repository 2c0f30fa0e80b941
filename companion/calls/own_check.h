// Checking a media that make has just written.
#pragma once

#include <string>

#include "companion/check/findings.h"

namespace kvl {

struct OwnCheck {
  Findings findings;
  bool starts = true;  ///< the media starts in its present directory, on this machine
  /// False when the media would not start in another directory or on another machine either.
  bool is_sound = true;
};

/// Checks the media as a user would start it: by StartTUI.sh, with none of the launcher's variables
/// set except TMPDIR. Restores all variables at the end; one that was not set before may then be
/// set and empty. Otherwise behaves as CheckMedia does.
OwnCheck CheckOwnMedia(const std::string& first_volume);

}  // namespace kvl
