// What lies at a path: whether something exists there, and of what type it is.
#pragma once

#include <string>

namespace KVLInsIO {

/// The type of a directory entry, a set of bits: is it to be treated as a directory (1) or as a
/// file (2), and is it a symbolic link (4). Exactly one of the first two bits is set.
enum EntryType : int {
  kNoEntry = 0,
  kDirectory = 1,
  kFile = 2,  ///< anything that is neither directory nor link: regular file, device, pipe, socket
  kLink = 4,
  kDirectoryOrFile = kDirectory | kFile,  ///< as a mask: everything
  kLinkToDirectory = kLink | kDirectory,
  kLinkToFile = kLink | kFile,  ///< a link to anything but a directory; also a dangling link
};

/// True when something exists at `path`, of whatever type and permissions, links followed: a
/// dangling link does not exist. False for an empty path, and when the way there is closed to the
/// user. Never throws.
[[nodiscard]] bool Exists(const std::string& path);

/// True when a regular file lies at `path`, links followed: no directory, device, pipe or socket.
/// False for an empty path, and when it cannot be found out. Never throws.
[[nodiscard]] bool IsRegularFile(const std::string& path);

/// True when a named pipe lies at `path`, links followed: to open one is to wait for somebody at its
/// other end. False for an empty path, and when it cannot be found out. Never throws.
[[nodiscard]] bool IsPipe(const std::string& path);

/// The type of what lies at `path`. A link is followed once more only to tell a link to a directory
/// from the rest.
/// Throws KVLInsException "GetType - empty path"; "lstat - " + path with the error's text, also
/// when nothing is there.
[[nodiscard]] EntryType GetType(const std::string& path);

/// The file bit of GetType(path). Throws as GetType does.
[[nodiscard]] bool IsFile(const std::string& path);

/// The directory bit of GetType(path). Throws as GetType does.
[[nodiscard]] bool IsDirectory(const std::string& path);

}  // namespace KVLInsIO
