// The value of "--volume-size".
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

/// Discs with a name of their own. Of several kinds of a name, the one that holds least, so that an image
/// fits on each of them.
///   cd      of 74 minutes (ECMA-130): 333,000 sectors of 2048 bytes, less the 150 of the first two
///           seconds, which hold no data; one of 80 minutes holds 700M
///   dvd     DVD+R (ECMA-349): 2,295,104 sectors; a DVD-R (ECMA-359) holds 2,298,496
///   dvd-dl  DVD-R of two layers (ECMA-382): 4,171,712 sectors; a DVD+R (ECMA-364) holds 4,173,824
inline constexpr std::uint64_t kCd = 332'850ULL * 2048;
inline constexpr std::uint64_t kDvd = 2'295'104ULL * 2048;
inline constexpr std::uint64_t kDvdOfTwoLayers = 4'171'712ULL * 2048;

/// The bytes that a text like "4700000000", "650M", "4700MB" or "dvd" stands for: a disc from above, or a
/// whole number above 0 in decimal digits, with K, M or G behind it for powers of 1024, KB, MB or GB
/// for powers of 1000.
/// Throws CannotMake for anything else, and for more than 64 bits hold.
std::uint64_t ParseVolumeSize(const std::string& text);

}  // namespace kvl
