#include "tests/support/pattern.h"

#include <map>
#include <regex>

namespace kvl::test {
namespace {

/// Compiles each pattern once.
const std::regex& Compiled(const std::string& pattern) {
  static std::map<std::string, std::regex> known;
  const auto found = known.find(pattern);
  return found != known.end() ? found->second : known.emplace(pattern, pattern).first->second;
}

Groups GroupsOf(const std::smatch& match) {
  return {match.begin(), match.end()};
}

}  // namespace

Groups MatchOf(const std::string& text, const std::string& pattern) {
  std::smatch match;
  return std::regex_match(text, match, Compiled(pattern)) ? GroupsOf(match) : Groups();
}

std::vector<Groups> MatchesIn(const std::string& text, const std::string& pattern) {
  std::vector<Groups> matches;
  const std::regex& compiled = Compiled(pattern);
  for (std::sregex_iterator at(text.begin(), text.end(), compiled), end; at != end; ++at) {
    matches.push_back(GroupsOf(*at));
  }
  return matches;
}

std::vector<std::string> SplitAt(const std::string& text, const std::string& pattern) {
  constexpr int kBetween = -1;
  return {std::sregex_token_iterator(text.begin(), text.end(), Compiled(pattern), kBetween), {}};
}

std::string Replaced(const std::string& text, const std::string& pattern, const std::string& with) {
  return std::regex_replace(text, Compiled(pattern), with);
}

}  // namespace kvl::test
