// What the start script of a media tells the launcher.
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

/// No more of a start script is looked at.
inline constexpr std::size_t kMostOfAScript = 65536;

/// The value that the script with this text gives the variable in a line NAME=value, the value a
/// plain word, or one in quotes without anything to expand; the last such line counts. Empty when
/// there is none.
std::string AssignmentIn(const std::string& script, const std::string& name);

}  // namespace kvl
