// A volume's directory, held against the manifest that counts.
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
  bool is_looked_at = false;  ///< every file was looked for
  std::uint64_t files = 0;    ///< that were read, of those on lists
  std::uint64_t bytes = 0;    ///< in them
  std::vector<Flaw> flaws;    ///< in the order of their paths
};

/// Compares what lies in a directory with the volumes that must lie there, by their numbers.
/// Nothing of a list counts, and no file is looked for, before all of the list has the digest that
/// the manifest has of it, and fits it. So many files are read at a time as there are jobs, at
/// least 1; `see` is told of bytes that were read, by one thread at a time. Throws as OpenDirectory
/// does when the directory cannot be read.
ComparedDisc CompareDisc(const KVLInsIO::OpenDirectory& directory, const Manifest& manifest,
                         const std::vector<std::size_t>& volumes, unsigned jobs,
                         const std::function<void(std::size_t)>& see);

}  // namespace kvl
