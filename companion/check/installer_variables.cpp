#include "companion/check/installer_variables.h"

#include <unistd.h>

#include "companion/check/media_report.h"
#include "companion/names/plain_text.h"

namespace kvl {
namespace {

/// The most bytes that the system hands over as one variable: name, "=", value and a byte behind it.
std::size_t LongestVariable() {
  constexpr std::size_t kPages = 32;
  return kPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
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

bool AddTooLongVariables(Findings& findings) {
  bool is_there = false;
  ForEachVariable([&](std::string_view text) {
    if (text.size() < LongestVariable()) return;
    is_there = true;
    findings.Add(FindingKind::kVariableTooLong, std::string(text.substr(0, text.find('='))));
  });
  return is_there;
}

}  // namespace kvl
