// The environment that the installer would get.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

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

/// Adds an error for each variable of this process and each word of a command that is longer than the
/// system hands to a program, or for all together. True when there is one.
bool AddTooLongTexts(const std::vector<std::string>& command, Findings& findings);

}  // namespace kvl
