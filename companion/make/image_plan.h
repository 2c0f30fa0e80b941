// Planning the disc images of a media.
#pragma once

#include "companion/make/media_plan.h"

namespace kvl {

/// Returns one image for each volume: i.iso beside the directory i in the sibling and the AM
/// layout, and DIR.iso beside the media's directory DIR for a single volume.
///
/// Throws CannotMake for the flat layout, where the volumes have no directories of their own; for
/// entries beyond the limits of xorriso, see disc_image.h; if the path of an image exists or cannot
/// be written; and if "lost+found" would be on the image.
std::vector<DiscImage> PlanImages(const MediaMakeRequest& request, const MediaPlan& plan);

}  // namespace kvl
