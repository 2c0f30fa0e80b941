// A forecast of staging, made without copying: what staging copies, and why it fails.
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
  bool is_doubtful = false;       ///< nobody can tell whether staging fails
  std::uint64_t files = 0;        ///< in the staging directory
  std::uint64_t directories = 0;  ///< in the staging directory
  std::uint64_t bytes = 0;        ///< in these files
  std::int64_t free_bytes = 0;    ///< on the file system of the temporary directory
  /// How many more files and directories that file system can hold; nothing if it has no limit.
  std::optional<std::uint64_t> free_entries;
  /// The sorted paths of the files below the staging directory; empty if staging fails or has more
  /// than kMostEntries files and directories.
  std::vector<std::string> names;

  static constexpr std::uint64_t kMostEntries = 100'000;
};

/// Goes through all that staging copies in the same order, links followed, but looks into no
/// directory twice: it ends soon even where a copy would take years. Adds an error for every reason
/// why staging fails, and a warning if `is_doubtful`. The name of the staging directory in the
/// request may be shorter than an identifier.
StagingForecast ForecastStaging(const StagingRequest& request, Findings& findings);

}  // namespace kvl
