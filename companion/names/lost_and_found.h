// What lies on a disc although nobody has put it there.
#pragma once

#include <sys/stat.h>

#include <string>

#include "insio/open_directory.h"

namespace kvl {

/// True for the directory "lost+found" that a file system begins with, at its top; a link of that
/// name is none. Throws as OpenDirectory::Look does.
inline bool IsLostAndFound(const KVLInsIO::OpenDirectory& top, const std::string& name) {
  return name == "lost+found" && S_ISDIR(top.Look(name).mode);
}

}  // namespace kvl
