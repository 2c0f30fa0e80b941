// The reports on a media that was verified, for people and for programs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companion/verify/media_verify.h"

namespace kvl {

/// A line for each flaw, and a last one that says how it stands. What comes from the media is
/// written as ToOneLine does it.
std::string VerifyText(const VerifyReport& report);

/// "volume 2" or "volumes 1-3, 5", for numbers in rising order.
std::string NamedVolumes(const std::vector<std::size_t>& numbers);

/// One object, indented, with a line feed at the end. Its keys are always there, in this order:
///
///   format          1; a change that breaks readers raises it
///   whole           true when every volume was looked at and nothing is wrong
///   genuine         true when nothing is wrong with the volumes that were looked at, and the key has
///                   proven it; null without a key
///   tag, layout     of the manifest; empty and "unknown" when none could be read
///   volume_count    of the media; 0 when no manifest could be read
///   looked_at, not_looked_at     numbers of volumes
///   files, bytes    that were read, of those on lists
///   findings        code, path, text (may be empty)
///
/// Texts are written as in JsonReport.
std::string VerifyJson(const VerifyReport& report);

}  // namespace kvl
