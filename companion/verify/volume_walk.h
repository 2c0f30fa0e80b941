// What lies in a volume's directory, held against what must lie there.
#pragma once

#include <vector>

#include "companion/verify/contents_comparison.h"
#include "companion/verify/expected_entries.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// Adds what is missing, not listed, of another kind or mode, and links that lead elsewhere, and
/// hands on the files whose contents are to be compared. Only directories that must be there are
/// gone into, and no link is followed. Of the names, those of one directory and of the ones that it
/// lies in are held. Throws as ExpectedEntries does.
void WalkVolume(const KVLInsIO::OpenDirectory& directory, ExpectedEntries& expected,
                ContentsComparison& contents, std::vector<Flaw>& flaws);

}  // namespace kvl
