// The check of the directory below which a launcher of the superuser stages the installer.
#pragma once

#include <string>

#include "companion/check/findings.h"

namespace kvl {

/// Adds a warning, for the superuser only, if another user can replace what lies in the directory:
/// the user owns a directory on the way there, links followed or not, or may write into it and no
/// sticky bit prevents the replacement. Adds nothing for a directory with a sticky bit, such as
/// /tmp: there the user would have to guess the name of the staging directory before it exists.
void AddExchangeable(const std::string& directory, Findings& findings);

}  // namespace kvl
