// The text of the command that starts the installer.
#pragma once

#include <string>
#include <vector>

namespace kvl {

/// Puts the installer's path in double quotes, unless it already begins with one, and appends each
/// argument in double quotes behind a blank. On purpose nothing inside is escaped: SplitCommand,
/// which splits the command before it is run, takes an argument apart differently when it contains
/// a double quote or a doubled backslash, or ends in a backslash.
///   /m/x, [a, b c]  =>  "/m/x" "a" "b c"     "/m/x, []  =>  "/m/x
std::string InstallerCommand(const std::string& installer_path,
                             const std::vector<std::string>& arguments);

}  // namespace kvl
