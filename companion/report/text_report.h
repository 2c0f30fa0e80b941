// The report of `kvl-media check` as text.
#pragma once

#include <string>

#include "companion/check/media_report.h"

namespace kvl {

enum class Detail {
  kShort,
  kVerbose,  ///< also the command, the variables and the messages of the launcher
};

/// Returns a line "severity: text: path; remedy" for each of the first 10 findings of a code, and a
/// line for each code that has more.
std::string FindingLines(const Findings& findings);

/// Returns lines of text: what the launcher finds, FindingLines, and a verdict as the last line.
/// ToOneLine writes whatever comes from the media.
std::string TextReport(const MediaReport& report, Detail detail);

}  // namespace kvl
