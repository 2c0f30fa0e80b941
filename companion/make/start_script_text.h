// The start scripts of a media.
#pragma once

#include <string>
#include <vector>

#include "companion/make/media_systems.h"

namespace kvl {

/// A script that starts the launcher of the media that it lies in, with `arguments` as they stand in
/// the script: that of the one system, or of the one for the machine that uname(1) names. On any other
/// machine it ends with status 1 and a line on standard error that names those that there are.
/// The names hold nothing that a shell expands.
std::string StartScriptText(const std::vector<PlannedSystem>& systems,
                            const std::string& arguments);

}  // namespace kvl
