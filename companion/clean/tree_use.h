// Whether somebody still works in a tree.
#pragma once

#include <set>
#include <string>

#include "companion/names/path_state.h"

namespace kvl {

/// What is known of the processes of the system.
struct ProcessUse {
  std::string user;  ///< "process <number>" that has something of the tree open; empty for none
  bool is_whole;     ///< without such a process: all could be looked at
};

/// Looks in /proc for a process with an open file, working directory, root directory, program or mapped
/// file that is one of the entries, or has `name` in its path: an identifier, which no other path has.
/// Throws std::filesystem::filesystem_error when /proc cannot be listed.
ProcessUse FindUser(const std::string& name, const std::set<FileIdentity>& entries);

/// True when a file system is mounted in a directory of this name, or something of it is mounted
/// elsewhere. Throws std::runtime_error when the system does not say what is mounted.
bool HasMounts(const std::string& name);

/// What the system says of an open file.
enum class FileUse { kUnknown, kNone, kOther };

/// Whether another descriptor of any process, also one that /proc does not show, has this file open.
/// Some file systems do not say. `file` must be open for reading.
FileUse UseOf(int file);

}  // namespace kvl
