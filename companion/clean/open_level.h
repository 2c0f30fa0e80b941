// One directory in a walk through a tree. The walk uses descriptors, so neither a link nor a
// directory that somebody renames meanwhile can lead it out of the tree.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "companion/names/path_state.h"
#include "insio/file_descriptor.h"

namespace kvl {

class OpenLevel {
 public:
  /// Opens the directory at `path`, and follows links. Throws KVLInsException "opendir - " + path.
  explicit OpenLevel(const std::string& path);
  /// Opens an entry of `above`, and does not follow a link. Throws the same.
  OpenLevel(const OpenLevel& above, const std::string& name);

  const std::string& Path() const { return path_; }
  const KVLInsIO::internal::FileDescriptor& File() const { return file_; }
  FileIdentity Identity() const { return StateOfOpen(file_.Number()).identity; }
  std::string PathOf(const std::string& name) const;

  /// Returns all names except "." and "..", sorted. Throws KVLInsException "readdir - " + path.
  std::vector<std::string> Names() const;

  /// Returns the state of an entry, and does not follow a link. Throws KVLInsException "lstat - " +
  /// path.
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
