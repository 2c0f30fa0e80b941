// Tells whether something exists at a path, and its type.
#pragma once

#include <string>

namespace KVLInsIO {

/// The type of a directory entry, a set of bits: treat it as a directory (1), treat it as a file
/// (2), it is a symbolic link (4). Every entry has exactly one of the first two bits.
enum EntryType : int {
  kNoEntry = 0,
  kDirectory = 1,
  kFile = 2,  ///< neither directory nor link: regular file, device, pipe, socket
  kLink = 4,
  kDirectoryOrFile = kDirectory | kFile,  ///< as a mask: any entry
  kLinkToDirectory = kLink | kDirectory,
  kLinkToFile = kLink | kFile,  ///< a link to anything but a directory; also a dangling link
};

/// Returns true if something exists at `path`, of any type and with any permissions. Follows links,
/// so a dangling link does not exist. Returns false for an empty path, and if the user may not
/// search a directory on the way. Never throws.
[[nodiscard]] bool Exists(const std::string& path);

/// Returns true if a regular file is at `path`, and not a directory, device, pipe or socket.
/// Follows links. Returns false for an empty path and if the system does not tell. Never throws.
[[nodiscard]] bool IsRegularFile(const std::string& path);

/// Returns true if a named pipe is at `path`; opening one waits for somebody at its other end.
/// Follows links. Returns false for an empty path and if the system does not tell. Never throws.
[[nodiscard]] bool IsPipe(const std::string& path);

/// Returns the type of the entry at `path`. Follows a link only to tell a link to a directory from
/// other links. Throws KVLInsException "GetType - empty path"; "lstat - " + path with the error's
/// text, also if nothing is there.
[[nodiscard]] EntryType GetType(const std::string& path);

/// Returns the file bit of GetType(path). Throws as GetType does.
[[nodiscard]] bool IsFile(const std::string& path);

/// Returns the directory bit of GetType(path). Throws as GetType does.
[[nodiscard]] bool IsDirectory(const std::string& path);

}  // namespace KVLInsIO
