// The reports of `kvl-media verify` as text and as JSON.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companion/verify/media_verify.h"

namespace kvl {

/// Returns a line for each flaw, and a verdict as the last line. ToOneLine writes whatever comes
/// from the media.
std::string VerifyText(const VerifyReport& report);

/// Returns "volume 2" or "volumes 1-3, 5"; the numbers must be in rising order.
std::string NamedVolumes(const std::vector<std::size_t>& numbers);

/// Returns one object, indented, with a line feed at the end. Its keys are always there, in the
/// order in which verify_report.cpp writes and describes them. Texts are written as in JsonReport.
std::string VerifyJson(const VerifyReport& report);

}  // namespace kvl
