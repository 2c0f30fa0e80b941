// What lies in a volume's directory, held against what must lie there. No file is opened.
#pragma once

#include <cstddef>
#include <vector>

#include "companion/verify/expected_entries.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// Adds what is missing, not listed, of another kind or mode, and links that lead elsewhere. Only
/// directories that must be there are gone into, and no link is followed. Gives the files that are
/// there and still to be compared, by their places among the entries.
///
/// When at least two files have a wrong mode, and all files there the same one, that is one flaw of the
/// whole directory: its file system keeps no modes.
std::vector<std::size_t> WalkVolume(const KVLInsIO::OpenDirectory& directory,
                                    const ExpectedEntries& entries, std::vector<Flaw>& flaws);

}  // namespace kvl
