#include "companion/check/installer_variables.h"

#include <unistd.h>

#include <algorithm>

#include "companion/check/media_report.h"
#include "companion/names/plain_text.h"

namespace kvl {
namespace {

/// Returns the most bytes of one text that the system passes to a program, including the zero byte
/// at its end and, of a variable, its name and "=".
std::size_t LongestText() {
  constexpr std::size_t kPages = 32;
  return kPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// The most bytes of all texts together, however large the stack may be.
constexpr std::size_t kMostOfAll = std::size_t{6} << 20U;

std::size_t MostTogether() {
  const long most = ::sysconf(_SC_ARG_MAX);  // a quarter of the stack limit
  return most < 0 ? kMostOfAll : std::min(static_cast<std::size_t>(most), kMostOfAll);
}

template <typename Visit>
void ForEachVariable(Visit visit) {
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) visit(*entry);
}

}  // namespace

std::string ShownText(std::string_view text) {
  if (text.size() <= MediaReport::kLongestText) return std::string(text);
  return Shortened(text, MediaReport::kShortText);
}

Variables AllVariables() {
  Variables all;
  ForEachVariable([&](std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return;
    all.emplace(text.substr(0, equals), ShownText(text.substr(equals + 1)));
  });
  return all;
}

Variables Changes(const Variables& before, const Variables& after) {
  Variables changes;
  for (const auto& [name, value] : after) {
    const auto old = before.find(name);
    if (old == before.end() || old->second != value) changes.emplace(name, value);
  }
  return changes;
}

bool AddTooLongTexts(const std::vector<std::string>& command, Findings& findings) {
  bool is_there = false;
  // The system stores the path of the program once more.
  std::size_t together = command.empty() ? 0 : command.front().size() + 1;
  const auto is_too_long = [&](std::string_view text) {
    together += sizeof(char*) + text.size() + 1;
    return text.size() >= LongestText();
  };
  ForEachVariable([&](std::string_view text) {
    if (!is_too_long(text)) return;
    is_there = true;
    findings.Add(FindingKind::kVariableTooLong, std::string(text.substr(0, text.find('='))));
  });
  for (std::size_t i = 0; i < command.size(); ++i) {
    if (!is_too_long(command[i])) continue;
    is_there = true;
    findings.Add(FindingKind::kArgumentTooLong, "", {std::to_string(i)});
  }
  if (is_there || together <= MostTogether()) return is_there;
  findings.Add(FindingKind::kTogetherTooLong, "",
               {std::to_string(together), std::to_string(MostTogether())});
  return true;
}

}  // namespace kvl
