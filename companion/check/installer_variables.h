// The environment and the command that the installer gets, and their limits.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "companion/check/findings.h"

namespace kvl {

/// Returns the text, or its Shortened form if it is longer than MediaReport::kLongestText: a tag or
/// a line of "volumes.txt" in it may have a million bytes.
std::string ShownText(std::string_view text);

using Variables = std::map<std::string, std::string>;

/// Returns all variables of this process, each value as ShownText.
Variables AllVariables();

/// Returns the variables of `after` that `before` lacks or has with another value.
Variables Changes(const Variables& before, const Variables& after);

/// Adds an error for each variable of this process and each word of the command that is longer than
/// the system passes to a program. Without such a text, adds an error if all together are too long.
/// Returns true if it adds an error.
bool AddTooLongTexts(const std::vector<std::string>& command, Findings& findings);

}  // namespace kvl
