// Listing the entries of a payload.
#pragma once

#include "companion/make/payload_list.h"
#include "companion/names/open_tree.h"
#include "insio/open_directory.h"

namespace kvl {

/// Returns everything below the directory. With Links::kFollowed, lists what a link leads to in the
/// place of the link. Throws CannotMake for a pipe, a socket, a device, a name with a line break or
/// too long for a disc, and for a followed link that leads to nothing or to a directory above it.
/// Throws what OpenDirectory throws for an entry that cannot be read.
PayloadList ListPayload(const KVLInsIO::OpenDirectory& directory, Links links);

}  // namespace kvl
