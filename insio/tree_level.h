// TreeLevel: one directory on the way down a tree, with those above it. Copying and deleting trees
// walk with it. Internal, not part of the library's installed interface.
#pragma once

#include <sys/stat.h>

#include <string>
#include <tuple>

#include "insio/file_descriptor.h"
#include "insio/finder.h"

namespace KVLInsIO::internal {

/// What makes two paths the same file: device and inode.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
  friend bool operator<(const FileIdentity& left, const FileIdentity& right) {
    return std::tie(left.device, left.inode) < std::tie(right.device, right.inode);
  }
};

/// The identity of what lies at `path`, links followed. False when that cannot be found out.
bool Identify(const std::string& path, FileIdentity& identity);

/// The same for an open file; false also when it is not open.
bool Identify(const FileDescriptor& file, FileIdentity& identity);

class TreeLevel {
 public:
  /// The top of a tree. Its entries are named as FindFirstFile does it, by the normalised path,
  /// unless that is another directory, as it can be with a backslash in a name. Throws as
  /// FindFirstFile does.
  static TreeLevel Top(const std::string& path);

  /// The directory that is the current entry of `above`, which must outlive this level and be the
  /// deepest one until then. When it cannot be opened, for another reason than that it is missing or
  /// closed to the user, Entries().ThrowIfCutShort() throws "opendir - " + path. Throws as
  /// FindFirstFile does, and "lstat - " + path when its path leads there no longer.
  static TreeLevel Below(TreeLevel& above);

  TreeLevel(const TreeLevel&) = delete;
  TreeLevel& operator=(const TreeLevel&) = delete;

  InsFileFinder& Entries() { return entries_; }

  /// True when the way from the top to the current entry goes through a link, which may be the
  /// entry itself. Several ways can then lead to the entry.
  bool EntryIsBehindLink() const { return behind_link_ || entries_.Type() == kLinkToDirectory; }

  /// True when the current entry is this directory or one above it, which only a link on the way
  /// can bring about: going down there would never end.
  bool EntryLeadsBack() const;

 private:
  TreeLevel(std::string directory, InsFileFinder entries);
  TreeLevel(std::string directory, InsFileFinder entries, const TreeLevel& above,
            std::size_t bytes_ahead);

  std::string directory_;
  InsFileFinder entries_;
  const TreeLevel* above_ = nullptr;
  int depth_ = 0;
  std::size_t bytes_ahead_above_ = 0;  // of names that the levels above have read ahead
  bool behind_link_ = false;           // this directory was reached through a link below the top
};

}  // namespace KVLInsIO::internal
