// The process environment: reading, setting and backing up variables. The only place that touches
// it. The installer inherits it, so everything set here before the start reaches the installer.
#pragma once

#include <string>

namespace kvl {

/// The variable's value; the empty text when it is not set, or when `name` is empty. A variable
/// that is not set and one set to the empty text cannot be told apart.
std::string GetEnv(const std::string& name);

/// Sets the variable, replacing any earlier value; `value` may be empty. Does nothing for an empty
/// name, and nothing for a name that the system refuses, such as one with "=" in it.
void SetEnv(const std::string& name, const std::string& value);

/// Records the variable's value of this moment, for the installer to read: sets "KVL_BAK_" + name
/// to "KVL_BAK=" + value, also when the variable is not set (the value is then empty) and for an
/// empty name. A later backup replaces an earlier one. Nothing ever restores or removes a backup.
void BackupEnv(const std::string& name);

}  // namespace kvl
