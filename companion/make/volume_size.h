// Parsing the value of --volume-size.
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

/// The bytes that fit on the discs with names. If there are several kinds of a disc, the number is
/// that of the smallest, so that an image fits on each kind.
///   cd      CD of 74 minutes (ECMA-130): 333,000 sectors of 2048 bytes, less the 150 of the first
///           two seconds, which hold no data; a CD of 80 minutes holds 700M
///   dvd     DVD+R (ECMA-349): 2,295,104 sectors; a DVD-R (ECMA-359) holds 2,298,496
///   dvd-dl  DVD-R of two layers (ECMA-382): 4,171,712 sectors; a DVD+R (ECMA-364) holds 4,173,824
inline constexpr std::uint64_t kCd = 332'850ULL * 2048;
inline constexpr std::uint64_t kDvd = 2'295'104ULL * 2048;
inline constexpr std::uint64_t kDvdOfTwoLayers = 4'171'712ULL * 2048;

/// Returns the bytes for a text like "4700000000", "650M", "4700MB" or "dvd": the name of a disc,
/// or a whole number above 0 in decimal digits, which K, M or G (powers of 1024) or KB, MB or GB
/// (powers of 1000) may follow. Throws CannotMake for any other text, and for a size of more than
/// 64 bits.
std::uint64_t ParseVolumeSize(const std::string& text);

}  // namespace kvl
