// The place in which a launcher of the superuser would stage what it starts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "companion/check/findings.h"

namespace kvl {

/// Adds a warning, for the superuser only, when somebody else may exchange what lies in the directory:
/// because one on the way there, links followed or not, belongs to another user, or others may write
/// into it and have no sticky bit in their way. Where they have, as in /tmp, nothing is said: the name
/// of a staging directory cannot be guessed in the moment between the look at it and its making.
void AddExchangeable(const std::string& directory, Findings& findings);

/// How many files and directories more the file system of `path` can hold, or of the nearest directory
/// on the way there. Nothing where there is no limit, or none can be found out.
std::optional<std::uint64_t> FreeEntries(const std::string& path);

}  // namespace kvl
