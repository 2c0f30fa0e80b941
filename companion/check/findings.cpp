#include "companion/check/findings.h"

#include <algorithm>

namespace kvl {
namespace {

/// Returns the text with the arguments filled in.
std::string Filled(std::string_view text, Findings::Arguments arguments) {
  std::string filled;
  for (const std::string_view argument : arguments) {
    filled.append(text.substr(0, text.find('<'))).append(argument);
    text.remove_prefix(text.find('>') + 1);
  }
  return filled.append(text);
}

}  // namespace

void Findings::Add(FindingKind kind, Severity severity, const std::string& path,
                   Arguments arguments) {
  if (severity == Severity::kError) ++errors_added_;
  const FindingRow& row = RowOf(kind);
  const auto key = std::make_pair(row.code, path);
  if (const auto known = index_.find(key); known != index_.end()) {
    Severity& so_far = all_[known->second].severity;
    so_far = std::max(so_far, severity);
    return;
  }
  if (kept_[row.code] == kMostOfOneCode) {
    ++not_kept_[row.code];
    return;
  }
  ++kept_[row.code];
  index_.emplace(key, all_.size());
  all_.push_back({kind, severity, path, Filled(row.text, arguments)});
}

void Findings::Add(FindingKind kind, const std::string& path, Arguments arguments) {
  Add(kind, RowOf(kind).severity.value(), path, arguments);
}

std::size_t Findings::Count() const {
  std::size_t count = all_.size();
  for (const auto& [code, number] : not_kept_) count += number;
  return count;
}

}  // namespace kvl
