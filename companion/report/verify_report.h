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

/// Returns one object, indented, with a line feed at the end. It always has these keys, in this
/// order:
///
///   format          1; a change that breaks readers raises it
///   whole           true if every volume was read and nothing is wrong
///   genuine         true if nothing is wrong with the volumes that were read, as the key proves;
///                   null without a key
///   tag, layout     as in the manifest; empty and "unknown" if no manifest could be read
///   volume_count    as in the manifest; 0 if no manifest could be read
///   looked_at, not_looked_at
///                   the numbers of the volumes that were read, and of the others
///   files, bytes    how many of the listed files were read, and their bytes
///   findings        code, path, text (may be empty)
///
/// Texts are written as in JsonReport.
std::string VerifyJson(const VerifyReport& report);

}  // namespace kvl
