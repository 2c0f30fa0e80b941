// The environment that the installer would get.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "companion/check/findings.h"

namespace kvl {

/// A text that may have a tag or a line of "volumes.txt" in it, of a million bytes each, in the
/// length in which a report shows it: see MediaReport.
std::string ShownText(std::string_view text);

using Variables = std::map<std::string, std::string>;

/// All variables of this process, each value a ShownText.
Variables AllVariables();

/// Those of `after` that `before` has not, or with another value.
Variables Changes(const Variables& before, const Variables& after);

/// Adds an error for each variable of this process that is longer than the system hands to a
/// program. True when there is one.
bool AddTooLongVariables(Findings& findings);

}  // namespace kvl
