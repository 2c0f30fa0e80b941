// TreeLevel: one directory on the way down a tree, with those above it. Copying and deleting a tree
// use it. Internal: the library does not install this header.
#pragma once

#include <sys/stat.h>

#include <string>
#include <tuple>

#include "insio/file_descriptor.h"
#include "insio/finder.h"

namespace KVLInsIO::internal {

/// Device and inode; two paths with the same lead to the same file.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
  friend bool operator<(const FileIdentity& left, const FileIdentity& right) {
    return std::tie(left.device, left.inode) < std::tie(right.device, right.inode);
  }
};

/// Finds the identity of the entry at `path` and follows links. Returns false if the system does
/// not tell.
bool Identify(const std::string& path, FileIdentity& identity);

/// Does the same for an open file. Returns false also if it is not open.
bool Identify(const FileDescriptor& file, FileIdentity& identity);

class TreeLevel {
 public:
  /// Returns the top of a tree. Names its entries by the normalised path, as FindFirstFile does,
  /// unless that is another directory, as it can be with a backslash in a name. Throws as
  /// FindFirstFile does.
  static TreeLevel Top(const std::string& path);

  /// Returns the level for the current entry of `above`, which must be a directory. `above` must
  /// outlive this level and have no other level below it meanwhile. If the directory cannot be
  /// opened, Entries().ThrowIfCutShort() throws "opendir - " + path, unless it is missing or the
  /// user lacks the permission. Throws as FindFirstFile does, and "lstat - " + path if the path no
  /// longer leads there.
  static TreeLevel Below(TreeLevel& above);

  TreeLevel(const TreeLevel&) = delete;
  TreeLevel& operator=(const TreeLevel&) = delete;

  InsFileFinder& Entries() { return entries_; }

  /// Returns true if a link lies on the way from the top to the current entry, or if the entry is
  /// one. Then several ways can lead to the entry.
  bool EntryIsBehindLink() const { return behind_link_ || entries_.Type() == kLinkToDirectory; }

  /// Returns true if the current entry is this directory or one above it, so that going down would
  /// never end. Only a link on the way can cause that.
  bool EntryLeadsBack() const;

 private:
  TreeLevel(std::string directory, InsFileFinder entries);
  TreeLevel(std::string directory, InsFileFinder entries, const TreeLevel& above,
            std::size_t bytes_ahead);

  std::string directory_;
  InsFileFinder entries_;
  const TreeLevel* above_ = nullptr;
  int depth_ = 0;
  std::size_t bytes_ahead_above_ = 0;  // bytes of names read ahead by the levels above
  bool behind_link_ = false;           // this directory was reached through a link below the top
};

}  // namespace KVLInsIO::internal
