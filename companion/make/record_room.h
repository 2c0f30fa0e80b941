// The lengths of the generated files: lists of files, list of all files, manifest, table of
// contents. All are in bytes, and never less than make writes. The way is the length of the path
// from a volume's directory to the names of its entries.
#pragma once

#include <cstdint>

#include "companion/make/payload_list.h"

namespace kvl {

inline constexpr std::uint64_t kLongestWay = 22;       ///< media/999/payload/999/
inline constexpr std::uint64_t kLongestWayButAm = 12;  ///< payload/999/, in all layouts except AM

/// Returns the length of the entry's line, or of all lines, in the list of a volume.
std::uint64_t ListLength(const PayloadEntry& entry, std::uint64_t way);
std::uint64_t ListLength(const PayloadList& entries, std::uint64_t way);
/// Returns the length of all lines in the list of all files, which begin with the number of a
/// volume.
std::uint64_t ListOfAllLength(const PayloadList& entries, std::uint64_t way);

/// Returns the length of the entry's line, or of all lines, in the manifest. A plain file has no
/// line.
std::uint64_t ManifestLength(const PayloadEntry& entry, std::uint64_t way);
std::uint64_t ManifestLength(const PayloadList& entries, std::uint64_t way);
/// Returns the length of a manifest for so many volumes, without the lines of entries, the tag and
/// the names of systems.
std::uint64_t ManifestFrame(std::uint64_t volumes);

/// Returns the length of the lines for so many volumes in the table of contents.
std::uint64_t ContentsLength(std::uint64_t volumes);

}  // namespace kvl
