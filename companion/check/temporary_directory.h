// The place in which a launcher of the superuser would stage what it starts.
#pragma once

#include <string>

#include "companion/check/findings.h"

namespace kvl {

/// Adds a warning, for the superuser only, when somebody else may exchange what lies in the directory:
/// because one on the way there, links followed or not, belongs to another user, or others may write
/// into it and have no sticky bit in their way. Where they have, as in /tmp, nothing is said: the name
/// of a staging directory cannot be guessed in the moment between the look at it and its making.
void AddExchangeable(const std::string& directory, Findings& findings);

}  // namespace kvl
