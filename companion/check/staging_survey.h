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
  bool is_doubtful = false;       ///< it cannot be known whether it fails
  std::uint64_t files = 0;        ///< that there will be
  std::uint64_t directories = 0;  ///< likewise
  std::uint64_t bytes = 0;        ///< in these files
  std::int64_t free_bytes = 0;    ///< under the temporary directory
  std::optional<std::uint64_t>
      free_entries;  ///< files and directories that the file system can still hold; nothing without a limit
  /// The files as named in the staging directory, sorted; none when staging fails, and when there
  /// are more than kMostEntries files and directories.
  std::vector<std::string> names;

  static constexpr std::uint64_t kMostEntries = 100'000;
};

/// Goes through all that would be copied as the copy would, links followed, but looks into no
/// directory twice, so that it ends soon where a copy would go on for years. Every reason for the
/// copy to fail is an error among the findings; of `is_doubtful` a warning is.
/// The name of the staging directory may be shorter than an identifier.
StagingForecast ForecastStaging(const StagingRequest& request, Findings& findings);

}  // namespace kvl
