#include "companion/start_script.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>

#include "console/text.h"
#include "insio/entry.h"

namespace kvl {
namespace {

constexpr std::size_t kMostBytes = 65536;
constexpr std::string_view kExpandedByAShell = "$`\\\"' \t;&|<>()*?[#~";

std::string BeginningOf(const std::string& path) {
  if (!KVLInsIO::IsRegularFile(path)) return {};
  std::string text(kMostBytes, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return text;
}

std::string_view WithoutQuotes(std::string_view value) {
  const bool is_quoted = value.size() >= 2 && value.front() == value.back() &&
                         (value.front() == '"' || value.front() == '\'');
  return is_quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

std::string AssignmentIn(const std::string& script, const std::string& name) {
  std::istringstream lines(BeginningOf(script));
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

bool HasText(const std::string& script, const std::string& text) {
  return BeginningOf(script).find(text) != std::string::npos;
}

}  // namespace kvl
