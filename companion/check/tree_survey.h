// Looking through a directory tree for what will make trouble once it is copied, burnt or installed
// by somebody else. Nothing is opened but directories, and no link is gone through.
#pragma once

#include <string>

#include "companion/check/findings.h"
#include "companion/check/installed_tree.h"
#include "companion/names/path_state.h"

namespace kvl {

/// Adds a finding when others than its owner and group cannot read the file or directory.
void AddNotForOthers(const std::string& path, const PathState& state, Findings& findings);

/// Adds a finding for each: link that leads nowhere or round in a circle, pipe, socket, device, file
/// or directory, the one given included, that others than its owner and group cannot read, directory that cannot be listed,
/// name that is too long for a disc, path that is too long for the system. A link may lead to what is
/// there only once the media is installed.
void SurveyTree(const std::string& directory, const InstalledTree& installed, Findings& findings);

}  // namespace kvl
