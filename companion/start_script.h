// What the start script of a media tells the launcher.
#pragma once

#include <string>

namespace kvl {

/// The value that the script gives the variable in a line NAME=value, the value a plain word, or one
/// in quotes without anything to expand; the last such line counts. Empty when there is none, and
/// when the script is no regular file or cannot be read. Only the first 64 KiB are looked at.
std::string AssignmentIn(const std::string& script, const std::string& name);

/// True when the text stands in the script. As above, only a part of a regular file is looked at.
bool HasText(const std::string& script, const std::string& text);

}  // namespace kvl
