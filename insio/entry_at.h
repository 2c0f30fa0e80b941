// GetType for an entry of an open directory, for walks through a tree. Internal: the library does
// not install this header.
#pragma once

#include <string>

#include "insio/entry.h"

namespace KVLInsIO::internal {

/// Returns what GetType(path) returns for the entry `name` of the open directory `directory`, but
/// resolves the whole `path` only if the entry is a link. Throws as GetType does.
EntryType GetTypeAt(int directory, const char* name, const std::string& path);

}  // namespace KVLInsIO::internal
