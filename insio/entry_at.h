// GetType for an entry of an open directory, for walks. Internal, not part of the library's installed
// interface.
#pragma once

#include <string>

#include "insio/entry.h"

namespace KVLInsIO::internal {

/// What GetType(path) gives for the entry `name` of the directory that is open as `directory`: the
/// way down from the root is not gone again, unless the entry is a link. `path` is the whole path.
/// Throws as GetType does.
EntryType GetTypeAt(int directory, const char* name, const std::string& path);

}  // namespace KVLInsIO::internal
