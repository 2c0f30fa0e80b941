// Copying what was planned, and nothing else.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"
#include "companion/names/open_tree.h"
#include "companion/seal/digest.h"
#include "insio/open_directory.h"

namespace kvl {

/// Opens a file of a directory, or what a link leads to that stands there when links are followed.
/// Throws std::runtime_error "changed since the media was planned: " + path when it is not what the
/// mark is of; as OpenDirectory does.
PlannedFile OpenPlanned(const KVLInsIO::OpenDirectory& from, const std::string& name,
                        std::uint64_t mark, Links links);

/// Throws the same when a link is no longer what it was.
void CheckPlannedLink(const PayloadEntry& entry, OpenTree& from);

/// Told of each piece of a file that is being copied, in the thread that copies it.
using SeeBytes = std::function<void(std::uint64_t bytes)>;

/// Copies the file into the directory, not a byte more than was planned, and gives the digest of what
/// was written; it is read once.
/// Throws as above when it is not what was planned, and as CopyFile does. Nothing is left then.
Digest CopyPlanned(const PlannedFile& planned, const KVLInsIO::OpenDirectory& directory,
                   const std::string& name, KVLInsIO::FileKind kind, const SeeBytes& see = {});

}  // namespace kvl
