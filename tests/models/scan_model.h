// What a scan finds, says and leaves behind; and what it is to, told from a table alone.
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

/// The variables with which the table's media is scanned.
Environment EnvironmentOf(const ScanTable& table);

/// The media's path in text, in a world that lies in `top`; of a relative media without it.
std::string MediaPath(const ScanTable& table, const std::string& top);

/// The directory in which the AM volumes lie, and the way from one of them to its volumes.
std::string OuterPath(const ScanTable& table, const std::string& top);
std::string WayIntoAmVolume(const ScanTable& table, const std::string& top);

ScanResult ModelOfScan(const ScanTable& table, const std::string& top);

}  // namespace kvl::test
