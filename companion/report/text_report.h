// The report on a media for people.
#pragma once

#include <string>

#include "companion/check/media_report.h"

namespace kvl {

enum class Detail {
  kShort,
  kVerbose,  ///< with the command, the variables and the launcher's messages
};

/// A line for each finding, as far as people read them.
std::string FindingLines(const Findings& findings);

/// Plain lines: what the launcher finds, one line for each finding, and a verdict at the end. What
/// comes from the media is written as ToOneLine does it.
std::string TextReport(const MediaReport& report, Detail detail);

}  // namespace kvl
