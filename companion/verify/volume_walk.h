// Comparing the entries of a volume's directory with the expected ones.
#pragma once

#include <vector>

#include "companion/verify/contents_comparison.h"
#include "companion/verify/expected_entries.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// Adds a flaw for each entry that is missing or not listed, or has another kind or mode, and for
/// each link with another target. Passes the files whose contents must be compared to `contents`.
/// Enters only expected directories, and follows no link. Holds only the names of the present
/// directory and of those above it in memory. Throws what ExpectedEntries throws.
void WalkVolume(const KVLInsIO::OpenDirectory& directory, ExpectedEntries& expected,
                ContentsComparison& contents, std::vector<Flaw>& flaws);

}  // namespace kvl
