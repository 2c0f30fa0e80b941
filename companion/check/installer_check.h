// The reasons why the launcher finds no installer.
#pragma once

#include "companion/check/disc_access.h"
#include "companion/check/findings.h"
#include "launcher/run_plan.h"

namespace kvl {

/// A launch that finds no installer.
struct MissingInstaller {
  const std::string& media_dir;
  const LauncherState& state;
  const std::string& candidate;   ///< path of the installer of the media itself
  const FileStart& start_script;  ///< the first kMostOfAScript bytes of StartTUI.sh
};

/// Adds an error for each reason why the installer is missing. Returns false if the directory is
/// not volume 1.
bool SayWhyThereIsNoInstaller(const MissingInstaller& missing, Findings& findings);

}  // namespace kvl
