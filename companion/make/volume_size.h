// The value of "--volume-size".
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

/// The bytes that a text like "4700000000" or "650M" stands for: a whole number above 0 in decimal
/// digits, with K, M or G behind it for powers of 1024.
/// Throws CannotMake for anything else, and for more than 64 bits hold.
std::uint64_t ParseVolumeSize(const std::string& text);

}  // namespace kvl
