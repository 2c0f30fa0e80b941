// What the start script of a media tells the launcher.
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

/// No more of a start script is looked at.
inline constexpr std::size_t kMostOfAScript = 65536;

/// This machine, as uname(1) calls it.
std::string NameOfThisMachine();

/// The value that the script with this text gives the variable in a line NAME=value, the value a
/// plain word, or one in quotes without anything to expand; the last such line counts. In the branches
/// of "case $machine in", only those for this machine count. Empty when there is none.
std::string AssignmentIn(const std::string& script, const std::string& name,
                         const std::string& machine = NameOfThisMachine());

/// The machines of these branches, with ", " between them; empty when there is no such choice.
std::string MachinesIn(const std::string& script);

}  // namespace kvl
