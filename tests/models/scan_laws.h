// The law of the media scan (media/volume_scan.h): it finds, says and leaves behind what the table
// says.
#pragma once

#include "tests/models/scan_table.h"

namespace kvl::test {

/// Makes everything of the table below `top`, which is the working directory of a relative media.
void MakeWorld(const ScanTable& table, const std::string& top);

/// Makes the table true in a directory below `directory`, scans it and compares. The working
/// directory of the process changes for a while.
void CheckScanLaws(const ScanTable& table, const std::string& directory);

}  // namespace kvl::test
