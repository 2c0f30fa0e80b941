// The report of make as text.
#pragma once

#include <string>

#include "companion/make/media_plan.h"
#include "companion/report/make_report.h"

namespace kvl {

/// Returns the report on a media that was made: its tag, layout and volumes, where it lies, how to
/// start it if it starts there, its disc images, and the findings of the check.
std::string TextOfMade(const MakeReport& report);

/// Returns the report of a dry run: tag, layout and volumes, the space needed, the disc images, and
/// the findings. With `with_files`, the files to be copied stand below each volume.
std::string TextOfPlan(const MakeReport& report, const MediaPlan& plan, bool with_files);

}  // namespace kvl
