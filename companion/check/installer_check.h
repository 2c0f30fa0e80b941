// Why the launcher finds no installer.
#pragma once

#include "companion/check/findings.h"
#include "launcher/run_plan.h"

namespace kvl {

/// What is known of a launch that finds none.
struct MissingInstaller {
  const std::string& media_dir;
  const LauncherState& state;
  const std::string& candidate;  ///< where the media itself would have it
  int start_script_error;        ///< why StartTUI.sh cannot be read; 0 when it can
};

/// Adds an error that says why. False when the directory is no volume 1 at all.
bool SayWhyThereIsNoInstaller(const MissingInstaller& missing, Findings& findings);

}  // namespace kvl
