// How much room a media needs for what it says of itself: lists of files, the list of all files, the
// manifest, the table of contents. Never less than they turn out to take.
#pragma once

#include <cstdint>

#include "companion/make/payload_list.h"

namespace kvl {

/// The longest way from a volume's directory to the names of its entries.
inline constexpr std::uint64_t kLongestWay = 22;       ///< media/999/payload/999/
inline constexpr std::uint64_t kLongestWayButAm = 12;  ///< payload/999/, in any layout but AM

/// Of an entry's line in its volume's list, behind a way of this length.
std::uint64_t ListLength(const PayloadEntry& entry, std::uint64_t way);
std::uint64_t ListLength(const PayloadList& entries, std::uint64_t way);
/// In the list of all files the volume's number stands in front.
std::uint64_t ListOfAllLength(const PayloadList& entries, std::uint64_t way);

/// Of an entry's line in the manifest, and of all that are listed; a plain file has none.
std::uint64_t ManifestLength(const PayloadEntry& entry, std::uint64_t way);
std::uint64_t ManifestLength(const PayloadList& entries, std::uint64_t way);
/// Of a manifest for so many volumes, without the lines of entries and the names in the call.
std::uint64_t ManifestFrame(std::uint64_t volumes);

/// Of the lines for so many volumes in the table of contents.
std::uint64_t ContentsLength(std::uint64_t volumes);

}  // namespace kvl
