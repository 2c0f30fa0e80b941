// The check of the start scripts of a media, and of the launcher that they start.
#pragma once

#include <string>

#include "companion/check/disc_access.h"
#include "companion/check/findings.h"

namespace kvl {

/// Which programs of the start have errors.
struct StartProblems {
  bool tui = false;       ///< StartTUI.sh
  bool gui = false;       ///< StartGUI.sh; false if it is missing, because it is optional
  bool launcher = false;  ///< the launcher that StartTUI.sh starts
};

/// A media whose start scripts are checked.
struct StartedMedia {
  const std::string& media_dir;
  const std::string& os_name;
  const std::string& installer_name;
  bool has_external_installer;  ///< then the media needs no installer of its own
};

/// Adds an error for each reason why StartTUI.sh or StartGUI.sh cannot be started, or cannot start
/// the launcher. Looks for a launcher only if the text of StartTUI.sh starts one of the media,
/// below the directory of the system that the script names, or else of `os_name`. Looks for an
/// installer there if only the script names it. Does not report a missing script again if staging
/// has reported it. `script` is the beginning of StartTUI.sh, up to kMostOfAScript.
StartProblems CheckStart(const StartedMedia& media, const FileStart& script, Findings& findings);

/// Returns true if the nearest existing directory on the way to `path` is on a file system mounted
/// noexec. Returns false, and adds a finding, if the system cannot tell.
bool IsOnNoexecMount(const std::string& path, Findings& findings);

}  // namespace kvl
