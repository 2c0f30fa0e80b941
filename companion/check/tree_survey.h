// The survey of a directory tree for entries that make trouble when somebody else copies, burns or
// installs the tree. It opens only directories and follows no links.
#pragma once

#include <string>

#include "companion/check/findings.h"
#include "companion/check/installed_tree.h"
#include "companion/names/path_state.h"

namespace kvl {

/// Adds a finding if users other than the owner and the group cannot read the file or directory.
void AddNotForOthers(const std::string& path, const PathState& state, Findings& findings);

/// Adds a finding for the directory itself and for what lies in it, for each
///   - link that leads nowhere, unless its target is there once the media is installed,
///   - link that leads round in a circle,
///   - pipe, socket or device,
///   - file or directory that users other than the owner and the group cannot read,
///   - directory that cannot be listed,
///   - name that is too long for a disc,
///   - path that is too long for the system.
void SurveyTree(const std::string& directory, const InstalledTree& installed, Findings& findings);

}  // namespace kvl
