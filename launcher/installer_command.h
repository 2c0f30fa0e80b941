// The text of the command that starts the installer.
#pragma once

#include <string>
#include <vector>

namespace kvl {

/// The installer's path in double quotes, unless it already begins with one, and each argument in
/// double quotes behind a blank. Nothing inside is escaped, on purpose: an argument with a double
/// quote in it, a doubled backslash or one at its end is split differently when the command is run
/// (see SplitCommand).
///   /m/x, [a, b c]  =>  "/m/x" "a" "b c"     "/m/x, []  =>  "/m/x
std::string InstallerCommand(const std::string& installer_path,
                             const std::vector<std::string>& arguments);

}  // namespace kvl
