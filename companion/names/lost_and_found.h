// The directory that a file system makes by itself.
#pragma once

#include <sys/stat.h>

#include <string>

#include "insio/open_directory.h"

namespace kvl {

/// Returns true if `name` is the directory "lost+found", which a new file system has at its top,
/// and not a link of this name. Throws what OpenDirectory::Look throws.
inline bool IsLostAndFound(const KVLInsIO::OpenDirectory& top, const std::string& name) {
  return name == "lost+found" && S_ISDIR(top.Look(name).mode);
}

}  // namespace kvl
