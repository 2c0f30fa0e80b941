// How much room a media needs for what it says of itself: lists of files, the list of all files, the
// manifest. Never less than they turn out to take.
#pragma once

#include <cstdint>

#include "companion/make/payload_list.h"

namespace kvl {

/// Of an entry's line in its volume's list, or in that of all files.
std::uint64_t ListLength(const PayloadEntry& entry);
std::uint64_t ListLength(const PayloadList& entries);

/// Of an entry's line in the manifest, and of all that are listed; a plain file has none.
std::uint64_t ManifestLength(const PayloadEntry& entry);
std::uint64_t ManifestLength(const PayloadList& entries);
/// Of a manifest for so many volumes, without the lines of entries and the names in the call.
std::uint64_t ManifestFrame(std::uint64_t volumes);

}  // namespace kvl
