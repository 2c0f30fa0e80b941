// What a call of make says to people.
#pragma once

#include <string>

#include "companion/make/media_plan.h"
#include "companion/report/make_report.h"

namespace kvl {

/// Of a media that was made: which it is, where it lies, how to start it unless it does not start, its disc
/// images, and what a check has found.
std::string TextOfMade(const MakeReport& report);

/// What a media would be, and what is to be said of that. With `with_files`, below each volume the files
/// that would be copied there.
std::string TextOfPlan(const MakeReport& report, const MediaPlan& plan, bool with_files);

}  // namespace kvl
