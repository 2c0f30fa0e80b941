// Reads, sets and backs up the variables of the process environment. No other file of the launcher
// touches it. The installer inherits it, so everything set here before the start reaches the
// installer.
#pragma once

#include <string>

namespace kvl {

/// Returns the variable's value; the empty text if it is not set or if `name` is empty. Does not
/// distinguish an unset variable from an empty one.
std::string GetEnv(const std::string& name);

/// Sets the variable and replaces any earlier value; `value` may be empty. Does nothing for an
/// empty name and for a name that the system refuses, such as one that contains "=".
void SetEnv(const std::string& name, const std::string& value);

/// Records the variable's present value for the installer: sets "KVL_BAK_" + name to "KVL_BAK=" +
/// value. An unset variable counts as empty, and `name` may be empty. A later backup replaces an
/// earlier one. Nothing restores or removes a backup.
void BackupEnv(const std::string& name);

}  // namespace kvl
