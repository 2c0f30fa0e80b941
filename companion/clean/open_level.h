// One directory of a tree that is gone through by descriptors, so that no link and nobody who renames
// something meanwhile leads out of it.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "companion/names/path_state.h"
#include "insio/file_descriptor.h"

namespace kvl {

class OpenLevel {
 public:
  /// Opens the directory at `path`, links followed. Throws KVLInsException "opendir - " + path.
  explicit OpenLevel(const std::string& path);
  /// The same of an entry, which must be a directory itself.
  OpenLevel(const OpenLevel& above, const std::string& name);

  const std::string& Path() const { return path_; }
  const KVLInsIO::internal::FileDescriptor& File() const { return file_; }
  FileIdentity Identity() const { return StateOfOpen(file_.Number()).identity; }
  std::string PathOf(const std::string& name) const;

  /// All names but "." and "..", sorted. Throws KVLInsException "readdir - " + path.
  std::vector<std::string> Names() const;

  /// What lies there, links not followed. Throws KVLInsException "lstat - " + path.
  struct stat Look(const std::string& name) const;

  /// Throws KVLInsException "unlink - " + path.
  void Unlink(const std::string& name) const;
  /// Throws KVLInsException "rmdir - " + path.
  void RemoveDirectory(const std::string& name) const;

 private:
  std::string path_;
  KVLInsIO::internal::FileDescriptor file_;
};

}  // namespace kvl
