// Regular expressions of ECMAScript. Only pattern.cpp compiles the standard library's templates for
// them, which takes seconds in each file.
#pragma once

#include <string>
#include <vector>

namespace kvl::test {

/// The match of a pattern: first the whole text, then each group; a group without a part in it is
/// empty.
using Groups = std::vector<std::string>;

/// Returns the groups if the pattern matches the whole text; otherwise nothing.
Groups MatchOf(const std::string& text, const std::string& pattern);

/// Returns each match of the pattern.
std::vector<Groups> MatchesIn(const std::string& text, const std::string& pattern);

/// Returns the texts before, between and behind the matches.
std::vector<std::string> SplitAt(const std::string& text, const std::string& pattern);

/// Returns the text with each match replaced; "$1" stands for the first group.
std::string Replaced(const std::string& text, const std::string& pattern, const std::string& with);

}  // namespace kvl::test
