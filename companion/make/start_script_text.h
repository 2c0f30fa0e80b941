// The text of the start scripts of a media.
#pragma once

#include <string>
#include <vector>

#include "companion/make/media_systems.h"

namespace kvl {

/// Returns a script that starts the launcher of its media, with `arguments` as the text of its
/// arguments. With several systems, it starts the launcher of the one whose machine uname(1) names.
/// On any other machine, it ends with status 1 and a line on standard error that names the machines
/// of the media. The names of the systems and programs must hold nothing that a shell expands.
std::string StartScriptText(const std::vector<PlannedSystem>& systems,
                            const std::string& arguments);

}  // namespace kvl
