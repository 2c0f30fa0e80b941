// Numbered entries: the files and directories of a volume set that are named by a number, such as
// "2" or "2.txt".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "insio/path.h"

namespace kvl {

/// Volume numbers have 64 bits: "volumes.txt" may hold the greatest int, and the numbers of AM
/// volumes go beyond that.
using VolumeNumber = std::int64_t;

/// All numbers from the first to the last, both included, which are 1 or more; none when the last is
/// the smaller one.
struct NumberRange {
  VolumeNumber first = 1;
  VolumeNumber last = 0;
};

/// Calls `visit`, in ascending order and at most once each, with the numbers of the range for which
/// an entry may exist in `directory`: the number in decimal without leading zeros, and `extension`
/// behind it. An entry that exists is never left out; what it is, and whether it is there at all, is
/// for the visitor to find out. An empty directory is the root directory, as it is when joined.
///
/// A range of a few numbers is visited as a whole. For a larger one the directory is listed, so that
/// the time depends on what is there and not on the greatest number; only when it cannot be listed,
/// every number is visited. Extensions are then compared without regard to the case of ASCII letters,
/// because the names on a medium may be in upper case for a file system that does not care.
/// Throws only what `visit` throws.
void ForEachNumber(const KVLInsIO::InsPath& directory, std::string_view extension,
                   NumberRange range, const std::function<void(VolumeNumber)>& visit);

}  // namespace kvl
