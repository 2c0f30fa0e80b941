// Finding and removing what staged runs have left in a temporary directory.
#pragma once

#include <string>
#include <vector>

namespace kvl {

enum class Fate { kCanGo, kRemoved, kNotRemoved, kLeftAlone };

struct LeftOver {
  std::string path;
  Fate fate;
  std::string reason = {};  ///< why it was not removed, or must not be removed
};

/// Returns every entry of the directory with the name of a staging directory, in the order of their
/// names. An entry is kCanGo when all of this is known to be true:
/// - it is a directory that holds the clean-up script of a run in it,
/// - this user owns it and everything in it,
/// - it lies on one file system, and nothing is mounted in it,
/// - no process has anything in it open.
/// Every other entry is kLeftAlone. Follows links only on the way to `directory`. Throws
/// KVLInsException "opendir - " or "readdir - " + directory.
std::vector<LeftOver> FindLeftOvers(const std::string& directory);

/// Does the same, and removes each entry that is kCanGo right after looking at it. Removes nothing
/// that appeared after the look. When a removal fails, the clean-up script of that entry remains.
std::vector<LeftOver> RemoveLeftOvers(const std::string& directory);

}  // namespace kvl
