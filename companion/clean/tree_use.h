// Finding out whether a process still uses a tree.
#pragma once

#include <set>
#include <string>

#include "companion/names/path_state.h"

namespace kvl {

/// What FindUser has found out.
struct ProcessUse {
  std::string user;  ///< "process <number>" that uses the tree; empty when none was found
  bool is_whole;     ///< FindUser could look at all processes; false when `user` is set
};

/// Looks in /proc for a process that uses one of the entries as an open file, working directory,
/// root directory, program or mapped file, or whose path to one of these contains `name`. `name`
/// must be an identifier that no other path contains. Throws std::filesystem::filesystem_error when
/// it cannot list /proc.
ProcessUse FindUser(const std::string& name, const std::set<FileIdentity>& entries);

/// Returns whether a file system is mounted in a directory of this name, or a part of the directory
/// is mounted elsewhere. Throws std::runtime_error when the system does not say what is mounted.
bool HasMounts(const std::string& name);

/// Whether a file is open elsewhere: unknown, not open, open.
enum class FileUse { kUnknown, kNone, kOther };

/// Returns whether another descriptor of any process has this file open, also of a process that
/// /proc does not show. Returns kUnknown on file systems that do not say. `file` must be open for
/// reading.
FileUse UseOf(int file);

}  // namespace kvl
