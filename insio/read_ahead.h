// Reading the rest of a directory at once, for walks down a tree. Internal, not part of the library's
// installed interface.
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

}  // namespace KVLInsIO::internal
