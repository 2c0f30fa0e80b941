// Checking whether the symbolic links of a payload can go onto a media as links.
#pragma once

#include "companion/make/payload_split.h"

namespace kvl {

/// Treats the entries of all volumes as one tree, as they are after an installation. Follows a link
/// by its names (see LeadsInside) and through other links. Throws CannotMake if a link has the name
/// of an entry on another volume. Throws CannotMake with the names of all links that are absolute,
/// lead out of the payload, or lead to nothing in it.
void CheckLinks(const Volumes& volumes);

}  // namespace kvl
