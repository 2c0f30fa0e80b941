// Small operations on text that several folders share.
#pragma once

#include <cstdint>
#include <string>

#include "insio/lines.h"

namespace kvl {

// The library owns these functions because it needs them itself.
using KVLInsIO::internal::ReadLine;
using KVLInsIO::internal::ReplaceAll;

/// Returns the number at the start of `text`, in base 10 as strtol reads it: leading white space,
/// one sign, digits. Ignores what follows. Returns `fallback` if there is no digit or the number
/// does not fit. Never throws; leaves errno as it was unless strtol reports a range error.
///   7  =>  7     " 7"  =>  7     12abc  =>  12     (empty), abc, 99999999999  =>  fallback
std::int32_t ToIntOr(const std::string& text, std::int32_t fallback);

}  // namespace kvl
