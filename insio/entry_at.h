// GetType for an entry of an open directory, for walks. Internal, not part of the library's installed
// interface.
#pragma once

#include <string>

#include "insio/entry.h"

namespace KVLInsIO {

/// What GetType(path) gives for the entry `name` of the directory that is open as `directory`, at
/// whatever depth that lies: the way down from the root is not gone again. `path` is the whole path
/// and only named in the failure, KVLInsException "lstat - " + path.
EntryType GetTypeAt(int directory, const char* name, const std::string& path);

}  // namespace KVLInsIO
