// Reading the files of a volume to their ends, several at a time, and comparing what they hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "companion/verify/expected_entries.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

inline constexpr unsigned kMostJobs = 64;

/// `files` are places among the entries, `jobs` is how many of them are read at a time, at least 1.
/// Adds those that are damaged or cannot be read. Gives how many bytes were read.
/// A file that is longer than all of its volume together is damaged, and not read.
std::uint64_t CompareContents(const KVLInsIO::OpenDirectory& directory,
                              const ExpectedEntries& entries, const std::vector<std::size_t>& files,
                              unsigned jobs, std::vector<Flaw>& flaws);

}  // namespace kvl
