// Finding the directories of volumes below a directory that a call names. Each is the root of a
// disc.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// The directory of a volume. It is not held open, because there may be more volumes than a process
/// may have open files.
struct Disc {
  std::string directory;
  std::optional<std::size_t> number =
      {};  ///< if set, the volume is the entry of this name in `directory`

  std::string Path() const;
  /// Opens the volume's directory; an entry that is a link is not followed. Throws what
  /// OpenDirectory throws.
  KVLInsIO::OpenDirectory Open() const;
};

/// Returns the directory itself, or its directories 1, 2 and so on if it has these and no manifest.
/// In the second case, adds a flaw for every other entry except "lost+found" and the disc images
/// 1.iso, 2.iso and so on. Throws what OpenDirectory throws.
std::vector<Disc> FindDiscs(const std::string& directory, std::vector<Flaw>& flaws);

/// Returns the number in front of the extension in a name such as "2.sha256": 1 to kMostVolumes,
/// without a leading 0. Returns nothing for any other name.
std::optional<std::size_t> VolumeIn(std::string_view name, std::string_view extension);

/// Returns the name of a volume's list of files.   2  =>  2.sha256
std::string ListName(std::size_t volume);

/// The longest manifest and the longest list that are read, in bytes. Those of make are far
/// shorter.
inline constexpr std::uint64_t kMostOfAManifest = 256U << 20U;
inline constexpr std::uint64_t kMostOfAList = 1U << 30U;

/// Returns whether a sorted list holds the name.
bool Holds(const std::vector<std::string>& names, std::string_view name);

}  // namespace kvl
