// Whether the symbolic links of a payload can go onto a media as links.
#pragma once

#include "companion/make/payload_split.h"

namespace kvl {

/// The entries of all volumes are one tree, as they are once they are installed.
/// A link leads inside when it does so name by name (see LeadsInside) and through other links.
/// Throws CannotMake "a link of one volume has the name of something on another: " + name; and one that
/// names each link that is absolute, leads out of the payload, or to nothing in it.
void CheckLinks(const Volumes& volumes);

}  // namespace kvl
