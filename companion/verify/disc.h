// The directories of volumes, each the root of a disc, in a directory that somebody names.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// Not held open: there may be more of them than files may be open.
struct Disc {
  std::string directory;
  std::optional<std::size_t> number = {};  ///< of one that lies in `directory`, and is named by it

  std::string Path() const;
  /// Throws as OpenDirectory does; a link in the directory is not followed.
  KVLInsIO::OpenDirectory Open() const;
};

/// The directory itself, or when it has no manifest, but directories 1, 2 and so on, these. What lies
/// beside them, belongs to no volume and is a flaw, but for files 1.iso, 2.iso and so on: disc images.
/// Throws as OpenDirectory does.
std::vector<Disc> FindDiscs(const std::string& directory, std::vector<Flaw>& flaws);

/// The number in front of the extension in a name such as "2.sha256": 1 to kMostVolumes, without a 0
/// in front; nothing for any other name.
std::optional<std::size_t> VolumeIn(std::string_view name, std::string_view extension);

/// The name of a volume's list of files.   2  =>  2.sha256
std::string ListName(std::size_t volume);

/// What is read of them at most; makes of media stay far below.
inline constexpr std::uint64_t kMostOfAManifest = 256U << 20U;
inline constexpr std::uint64_t kMostOfAList = 1U << 30U;

/// Whether a name stands in a sorted list.
bool Holds(const std::vector<std::string>& names, std::string_view name);

}  // namespace kvl
