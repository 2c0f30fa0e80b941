// The state of an entry, from one question to the system.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <utility>

namespace kvl {

/// Device and inode: what makes two paths the same file.
using FileIdentity = std::pair<dev_t, ino_t>;

struct PathState {
  int error = 0;    ///< why nothing is known; all other members are zero then
  mode_t mode = 0;  ///< type and permissions
  uid_t owner = 0;
  gid_t group = 0;
  std::uint64_t size = 0;
  FileIdentity identity = {};

  bool IsThere() const { return error == 0; }
  bool IsFile() const { return S_ISREG(mode); }
  bool IsDirectory() const { return S_ISDIR(mode); }
  bool IsLink() const { return S_ISLNK(mode); }
};

/// Returns the state of what the path leads to, links followed. Takes the path as it stands.
PathState StateAt(const std::string& path);
/// Returns the state of the entry itself, which may be a link.
PathState StateOfEntry(const std::string& path);
/// Returns the state of an open file.
PathState StateOfOpen(int file);

/// Returns true if anybody may execute a file with this mode.
inline bool IsProgram(mode_t mode) {
  return (mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

}  // namespace kvl
