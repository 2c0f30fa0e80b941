// Comparing the directory of a volume with the manifest of the media.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "companion/seal/manifest.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

struct ComparedDisc {
  bool is_looked_at = false;  ///< verify has looked for every file
  std::uint64_t files = 0;    ///< number of files on lists that were read
  std::uint64_t bytes = 0;    ///< read from them
  std::vector<Flaw> flaws;    ///< in the order of their paths
};

/// Compares the contents of a directory with `volumes`, the numbers of the volumes that must lie
/// there. Looks for no file before each list has the digest that the manifest names, and fits the
/// manifest. `jobs` and `see` are those of ContentsComparison. Throws what OpenDirectory throws
/// when the directory cannot be read.
ComparedDisc CompareDisc(const KVLInsIO::OpenDirectory& directory, const Manifest& manifest,
                         const std::vector<std::size_t>& volumes, unsigned jobs,
                         const std::function<void(std::size_t)>& see);

}  // namespace kvl
