// Why the launcher finds no installer.
#pragma once

#include "companion/check/disc_access.h"
#include "companion/check/findings.h"
#include "launcher/run_plan.h"

namespace kvl {

/// What is known of a launch that finds none.
struct MissingInstaller {
  const std::string& media_dir;
  const LauncherState& state;
  const std::string& candidate;   ///< where the media itself would have it
  const FileStart& start_script;  ///< the beginning of StartTUI.sh, up to kMostOfAScript
};

/// Adds an error that says why. False when the directory is no volume 1 at all.
bool SayWhyThereIsNoInstaller(const MissingInstaller& missing, Findings& findings);

}  // namespace kvl
