// What "check" says of a media that has just been made.
#pragma once

#include <string>

#include "companion/check/findings.h"

namespace kvl {

struct OwnCheck {
  Findings findings;
  bool starts = true;  ///< here, where it lies
  /// False when it would not start elsewhere either: when more is wrong than its path, a file system
  /// that is mounted noexec, or a launcher that is a program of another machine.
  bool is_sound = true;
};

/// Checks the media as whoever gets it would start its StartTUI.sh, with none of the launcher's
/// variables set but TMPDIR. Each variable has its value again at the end; one that was not set may be
/// there, and is empty. As CheckMedia else.
OwnCheck CheckOwnMedia(const std::string& first_volume);

}  // namespace kvl
