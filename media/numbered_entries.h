// Numbered entries: the files and directories of a media set that are named by a number, such as
// "2" or "2.txt".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "insio/path.h"

namespace kvl {

/// A volume number has 64 bits: "volumes.txt" may hold the greatest int, and AM volumes have still
/// greater numbers.
using VolumeNumber = std::int64_t;

/// All numbers from `first` to `last`, both included. `first` is at least 1. The range is empty if
/// `last` is smaller.
struct NumberRange {
  VolumeNumber first = 1;
  VolumeNumber last = 0;
};

/// Calls `visit` for each number of the range for which `directory` may have an entry named by that
/// number in decimal, without leading zeros, and `extension`. Visits the numbers in ascending
/// order, each at most once. Never leaves out a number that has an entry; the visitor finds out
/// whether the entry exists and what it is. An empty `directory` is the root directory, as in Join.
///
/// Visits all numbers of a small range. For a large range, lists the directory, so that the time
/// depends on its entries and not on the greatest number; visits every number only if the list
/// fails. A list is compared without regard to the case of ASCII letters, because a file system
/// that ignores case may show the names in upper case. Throws only what `visit` throws.
void ForEachNumber(const KVLInsIO::InsPath& directory, std::string_view extension,
                   NumberRange range, const std::function<void(VolumeNumber)>& visit);

}  // namespace kvl
