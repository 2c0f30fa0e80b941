// What the start script of a media passes to the launcher.
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

/// How many bytes of a start script the check reads.
inline constexpr std::size_t kMostOfAScript = 65536;

/// Returns the name of this machine as uname(1) gives it.
std::string NameOfThisMachine();

/// Returns the value from the last line NAME=value of the script, or an empty text. The value is a
/// plain word, or a word in quotes without anything that a shell expands. In the branches of
/// "case $machine in", only lines for `machine` count.
std::string AssignmentIn(const std::string& script, const std::string& name,
                         const std::string& machine = NameOfThisMachine());

/// Returns the machines of these branches, with ", " between them; empty without such branches.
std::string MachinesIn(const std::string& script);

}  // namespace kvl
