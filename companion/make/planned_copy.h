// Copying files and links, and refusing those that have changed since the media was planned.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"
#include "companion/names/open_tree.h"
#include "companion/seal/digest.h"
#include "insio/open_directory.h"

namespace kvl {

/// Opens a file of a directory, or the file that a link leads to if links are followed. Throws
/// std::runtime_error if MarkOf its state is not `mark`, and what OpenDirectory throws.
PlannedFile OpenPlanned(const KVLInsIO::OpenDirectory& from, const std::string& name,
                        std::uint64_t mark, Links links);

/// Throws std::runtime_error if the link has changed since it was listed.
void CheckPlannedLink(const PayloadEntry& entry, OpenTree& from);

/// Called with the number of bytes of each piece that was copied, in the thread that copies.
using SeeBytes = std::function<void(std::uint64_t bytes)>;

/// Copies the file into the directory, and returns the digest of what was written. Reads the file
/// once, and copies no more bytes than were planned. Throws std::runtime_error if the file has
/// changed, and what CopyFile throws. Leaves no copy then.
Digest CopyPlanned(const PlannedFile& planned, const KVLInsIO::OpenDirectory& directory,
                   const std::string& name, KVLInsIO::FileKind kind, const SeeBytes& see = {});

}  // namespace kvl
