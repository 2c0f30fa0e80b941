// Listing a payload as it lies in a directory.
#pragma once

#include "companion/make/payload_list.h"
#include "companion/names/open_tree.h"
#include "insio/open_directory.h"

namespace kvl {

/// Everything below the directory. With Links::kFollowed, what a link leads to stands there in its
/// place.
/// Throws CannotMake for a pipe, a socket, a device, a name with a line break or too long for a disc,
/// for a link to follow that leads to a directory above it, and for what cannot be read; what
/// OpenDirectory throws for what cannot be looked at.
PayloadList ListPayload(const KVLInsIO::OpenDirectory& directory, Links links);

}  // namespace kvl
