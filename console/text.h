// Small operations on text that several folders share. They keep no state.
#pragma once

#include <cstdint>
#include <string>

#include "insio/lines.h"

namespace kvl {

// They lie with the library, which works with them, too, and carries no names but its own.
using KVLInsIO::internal::ReadLine;
using KVLInsIO::internal::ReplaceAll;

/// The number at the start of `text`, in base 10 as strtol reads it: leading white space, one sign,
/// digits; what follows is ignored. `fallback` when there is no digit or the number does not fit.
/// Never throws; errno is left as it was unless strtol reported a range error.
///   7  =>  7     " 7"  =>  7     12abc  =>  12     (empty), abc, 99999999999  =>  fallback
std::int32_t ToIntOr(const std::string& text, std::int32_t fallback);

}  // namespace kvl
