#include "companion/check/findings.h"

#include <algorithm>

namespace kvl {

void Findings::Add(Finding finding) {
  const auto key = std::make_pair(finding.code, finding.path);
  if (const auto known = index_.find(key); known != index_.end()) {
    Severity& severity = all_[known->second].severity;
    severity = std::max(severity, finding.severity);
    return;
  }
  if (kept_[finding.code] == kMostOfOneCode) {
    ++not_kept_[finding.code];
    return;
  }
  ++kept_[finding.code];
  index_.emplace(key, all_.size());
  all_.push_back(std::move(finding));
}

std::size_t Findings::Count() const {
  std::size_t count = all_.size();
  for (const auto& [code, number] : not_kept_) count += number;
  return count;
}

}  // namespace kvl
