// Whether a media can be started: its start scripts, and the launcher that they start.
#pragma once

#include <string>

#include "companion/check/disc_access.h"
#include "companion/check/findings.h"

namespace kvl {

/// What of a media cannot be started, or does not start the next one.
struct StartProblems {
  bool tui = false;  ///< StartTUI.sh
  bool gui = false;  ///< StartGUI.sh, which need not be there
  bool launcher = false;
};

/// What is known of a media whose start scripts are looked at.
struct StartedMedia {
  const std::string& media_dir;
  const std::string& os_name;
  const std::string& installer_name;
  bool has_external_installer;  ///< so that it needs none of its own
};

/// Adds an error for each reason why StartTUI.sh or StartGUI.sh cannot be started, or cannot start
/// the launcher. A launcher is looked for only where the text of StartTUI.sh has one: in the media,
/// below the directory of the system that the script names, or else of `os_name`. So is an installer
/// that the script names and nobody else. That a script is missing is not said again of one that
/// staging misses.
/// `script` is the beginning of StartTUI.sh, up to kMostOfAScript.
StartProblems CheckStart(const StartedMedia& media, const FileStart& script, Findings& findings);

/// Asks the nearest directory on the way to `path` that is there. False as well when nothing can be
/// found out, which is then among the findings.
bool IsOnNoexecMount(const std::string& path, Findings& findings);

}  // namespace kvl
