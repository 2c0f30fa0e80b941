// Whether a media can be started: its start scripts, and the launcher that they start.
#pragma once

#include <string>

#include "companion/check/disc_access.h"
#include "companion/check/findings.h"

namespace kvl {

/// Adds an error for each reason why StartTUI.sh or StartGUI.sh cannot be started, or cannot start
/// the launcher. A launcher is looked for only where the text of StartTUI.sh has one: in the media,
/// below the directory of the system that the script names, or else of `os_name`. That a script is
/// missing is not said again of one that staging misses.
/// `script` is the beginning of StartTUI.sh, up to kMostOfAScript.
void CheckStart(const std::string& media_dir, const std::string& os_name, const FileStart& script,
                Findings& findings);

/// Asks the nearest directory on the way to `path` that is there. False as well when nothing can be
/// found out, which is then among the findings.
bool IsOnNoexecMount(const std::string& path, Findings& findings);

}  // namespace kvl
