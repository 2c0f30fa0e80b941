// What staged runs have left in a temporary directory.
#pragma once

#include <string>
#include <vector>

namespace kvl {

enum class Fate { kCanGo, kRemoved, kNotRemoved, kLeftAlone };

struct LeftOver {
  std::string path;
  Fate fate;
  std::string reason = {};  ///< why it was not removed, or must not be
};

/// Every entry of the directory with the name of a staging directory, in the order of their names.
/// kCanGo is a directory with the clean-up script of a run in it, that belongs to this user with all
/// that is in it, is on one file system, with nothing mounted, and that no process has open. What
/// could not be found out leaves it alone. No link is followed, but on the way to `directory`.
/// Throws KVLInsException "opendir - " or "readdir - " + directory.
std::vector<LeftOver> FindLeftOvers(const std::string& directory);

/// The same, and removes those that can go, each after it has been looked at. Of a removal that fails
/// the clean-up script is still there. Nothing is removed that was not there at the look.
std::vector<LeftOver> RemoveLeftOvers(const std::string& directory);

}  // namespace kvl
