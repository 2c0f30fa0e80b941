// "remove.bat", the script beside a staged installer that removes it. The launcher never runs it.
#pragma once

#include <string>

namespace kvl {

/// The script's text. `staging_dir_slash` ends in "/".
std::string CleanUpScript(const std::string& staging_dir_slash);

/// Writes the script into the staging directory, replacing an
/// existing one. On purpose it has the same text, for a command interpreter of another system, on
/// every platform. When it cannot be written nothing is reported.
void WriteCleanUpScript(const std::string& staging_dir_slash);

}  // namespace kvl
