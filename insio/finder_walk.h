// What a walk down a tree needs of a finder besides. Internal, not part of the library's installed
// interface.
#pragma once

#include <cstddef>

#include "insio/finder.h"

namespace KVLInsIO::internal {

/// Reads the names of further entries and closes the directory behind the last one, so that a deep
/// recursion needs no open directory on every level; the finder then goes on as before. Stops, with
/// the directory still open, as soon as the names take `most_bytes` bytes, each counted with one
/// byte more; 0 reads nothing. Returns how many bytes of names are kept, which is also all that
/// happens while there are some of an earlier call.
std::size_t ReadAhead(InsFileFinder& finder, std::size_t most_bytes);

/// A finder for the current entry of `above`, which is a directory. That was found out from the
/// open directory above it, so a failure to open it by its path does not make it an empty one.
/// Throws KVLInsException "lstat - " + path when its path leads there no longer; ThrowIfCutShort of
/// the result throws "opendir - ", unless the directory is closed to the user.
InsFileFinder EnterEntry(const InsFileFinder& above);

}  // namespace KVLInsIO::internal
