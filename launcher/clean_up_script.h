// The clean-up script "remove.bat", which removes a staged installer. It lies beside that
// installer. The launcher never runs it.
#pragma once

#include <string>

namespace kvl {

/// Returns the script's text. `staging_dir_slash` ends in "/".
std::string CleanUpScript(const std::string& staging_dir_slash);

/// Writes the script into the staging directory and replaces an existing one. On every platform it
/// has the same text, on purpose, although another system's command interpreter reads it. Reports
/// no failure.
void WriteCleanUpScript(const std::string& staging_dir_slash);

}  // namespace kvl
