// What staging would copy, and why it would fail, found out without copying.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/check/findings.h"
#include "launcher/staging.h"

namespace kvl {

struct StagingForecast {
  bool fails = false;
  std::uint64_t files = 0;        ///< to be copied; one that is overwritten counts twice
  std::uint64_t directories = 0;  ///< likewise
  std::uint64_t bytes = 0;        ///< in these files
  std::int64_t free_bytes = 0;    ///< under the temporary directory
  std::optional<std::uint64_t> free_entries;  ///< see FreeEntries
  /// The files as named in the staging directory, sorted; none when staging fails, and when there
  /// are more than kMostEntries files and directories.
  std::vector<std::string> names;

  static constexpr std::uint64_t kMostEntries = 100'000;
};

/// Goes through all that would be copied as the copy would, links followed, but looks into no
/// directory twice, so that it ends soon where a copy would go on for years. Every reason for the
/// copy to fail is an error among the findings.
StagingForecast ForecastStaging(const StagingRequest& request, Findings& findings);

}  // namespace kvl
