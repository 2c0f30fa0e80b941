// Whether a media can be started: its start scripts, and the launcher that they start.
#pragma once

#include <string>

#include "companion/findings.h"

namespace kvl {

/// Adds an error for each reason why StartTUI.sh or StartGUI.sh cannot be started, or cannot start
/// the launcher. A launcher is looked for only where the text of StartTUI.sh has one: in the media,
/// below the directory of the system that the script names, or else of `os_name`. That a script is
/// missing is not said again of one that staging misses.
void CheckStart(const std::string& media_dir, const std::string& os_name, Findings& findings);

/// False as well when nothing can be found out.
bool IsOnNoexecMount(const std::string& path);

}  // namespace kvl
