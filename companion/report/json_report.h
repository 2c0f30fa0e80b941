// The reports of `kvl-media check` and `kvl-media make` as JSON.
#pragma once

#include <string>

#include "companion/check/media_report.h"
#include "companion/report/make_report.h"

namespace kvl {

/// Returns one object, indented, with a line feed at the end. Its keys are always there, in the
/// order in which json_report.cpp writes and describes them.
///
/// A tag of more than 256 bytes is Shortened to 256, and so is a variable or a message of more than
/// 131072 bytes, because the system passes no such text to a program.
///
/// The report is UTF-8. ToOneLine writes every text before the rules of JSON apply, so readers can
/// restore its exact bytes, and no text moves a terminal that shows the report.
std::string JsonReport(const MediaReport& report);

/// Returns the same kind of object for a call of make.
std::string JsonReport(const MakeReport& report);

}  // namespace kvl
