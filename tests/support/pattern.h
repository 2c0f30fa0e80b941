// Regular expressions as ECMAScript has them. Only pattern.cpp compiles the standard library's
// templates for them, which takes seconds in each file that does.
#pragma once

#include <string>
#include <vector>

namespace kvl::test {

/// What a pattern found: at first all of it, then each group; empty where a group took no part.
using Groups = std::vector<std::string>;

/// The groups when the pattern describes the whole text; none otherwise.
Groups MatchOf(const std::string& text, const std::string& pattern);

/// Each place that the pattern describes.
std::vector<Groups> MatchesIn(const std::string& text, const std::string& pattern);

/// What stands before, between and behind the places that the pattern describes.
std::vector<std::string> SplitAt(const std::string& text, const std::string& pattern);

/// The text with each of these places replaced; "$1" stands for the first group.
std::string Replaced(const std::string& text, const std::string& pattern, const std::string& with);

}  // namespace kvl::test
