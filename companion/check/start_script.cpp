#include "companion/check/start_script.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "console/text.h"

namespace kvl {
namespace {

constexpr std::string_view kExpandedByAShell = "$`\\\"' \t;&|<>()*?[#~";

std::string_view WithoutQuotes(std::string_view value) {
  const bool is_quoted = value.size() >= 2 && value.front() == value.back() &&
                         (value.front() == '"' || value.front() == '\'');
  return is_quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

std::string AssignmentIn(const std::string& script, const std::string& name) {
  std::istringstream lines(script);
  std::string found;
  for (std::string line; ReadLine(lines, line);) {
    std::string_view rest = line;
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    if (rest.starts_with("export ")) rest.remove_prefix(7);
    if (!rest.starts_with(name + "=")) continue;
    const std::string_view value = WithoutQuotes(rest.substr(name.size() + 1));
    if (value.find_first_of(kExpandedByAShell) == std::string_view::npos) found = value;
  }
  return found;
}

}  // namespace kvl
