// Which disc images a media is to have, and what keeps them from being made.
#pragma once

#include "companion/make/media_plan.h"

namespace kvl {

/// One image for each volume: in the sibling and the AM layout i.iso beside the directory i, of a single
/// volume beside the media's directory, with ".iso" behind its name.
/// Throws CannotMake for the flat layout, where no volume has a directory of its own; for what xorriso
/// cannot write, see disc_image.h; for a place where something is, or cannot be written; when
/// "lost+found" would be on it.
std::vector<DiscImage> PlanImages(const MediaMakeRequest& request, const MediaPlan& plan);

}  // namespace kvl
