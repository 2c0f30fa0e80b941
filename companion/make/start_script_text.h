// The start scripts of a media.
#pragma once

#include <string>

namespace kvl {

/// A script that starts the launcher of the media that it lies in, with `arguments` as they stand in
/// the script. The two names hold nothing that a shell expands.
std::string StartScriptText(const std::string& os_name, const std::string& installer_name,
                            const std::string& arguments);

}  // namespace kvl
