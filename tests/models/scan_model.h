// The results, messages and variables of a scan, and a model that computes them from a table alone.
#pragma once

#include "tests/models/scan_table.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

struct ScanResult {
  std::string exception = {};  ///< what it ended with instead of a result
  int code = 0;
  bool complete = false;
  std::vector<std::string> volumes = {};
  std::string out = {};
  std::string err = {};
  Environment env = {};  ///< afterwards, the whole of it
};

/// Scans the media in an environment that holds exactly `env`.
ScanResult Scan(const std::string& media, const Environment& env = {},
                bool is_software_management = false);

/// Returns the variables with which the table's media is scanned.
Environment EnvironmentOf(const ScanTable& table);

/// Returns the text of the media's path, in a world that lies in `top`; for a relative media
/// without `top`.
std::string MediaPath(const ScanTable& table, const std::string& top);

/// Return the directory with the AM volumes, and the path from one of them to its volumes.
std::string OuterPath(const ScanTable& table, const std::string& top);
std::string WayIntoAmVolume(const ScanTable& table, const std::string& top);

ScanResult ModelOfScan(const ScanTable& table, const std::string& top);

}  // namespace kvl::test
