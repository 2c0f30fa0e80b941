// Further operations of a finder, for walks down a tree. Internal: the library does not install
// this header.
#pragma once

#include <cstddef>

#include "insio/finder.h"

namespace KVLInsIO::internal {

/// Reads the names of further entries ahead, and closes the directory behind the last one, so that
/// a deep recursion does not keep a directory open on every level. The finder then goes on as
/// before. Stops, with the directory still open, once the names take `most_bytes` bytes, each
/// counted with one extra byte; with 0 reads nothing. Returns how many bytes of names it keeps. If
/// it still keeps names from an earlier call, only returns that number.
std::size_t ReadAhead(InsFileFinder& finder, std::size_t most_bytes);

/// Returns a finder for the current entry of `above`, which must be a directory. The entry is known
/// to be a directory, so if it cannot be opened by its path, it does not count as an empty one.
/// Throws KVLInsException "lstat - " + path if the path no longer leads there. ThrowIfCutShort of
/// the result throws "opendir - " if the directory cannot be opened, unless the user lacks the
/// permission.
InsFileFinder EnterEntry(const InsFileFinder& above);

}  // namespace KVLInsIO::internal
