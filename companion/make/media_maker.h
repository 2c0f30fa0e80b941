// Making a media according to a plan: volumes with their markers, "inst", the files that describe
// the media, and the start scripts.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"
#include "companion/make/planned_files.h"

namespace kvl {

struct Progress {
  /// Called before each file is copied, as ForEachCopy does.
  SeeFile file;
  /// Called with the number of payload bytes that have been copied, from one thread at a time.
  std::function<void(std::uint64_t bytes_done, std::uint64_t bytes_in_all)> bytes;
};

/// Makes the media. `plan` must be the plan of `request`. Volume i has its part of the payload in
/// payload/i, and the list of its files, i.sha256, and media.manifest in its directory (see
/// MediaWriter). Files get mode 644, or 755 if somebody may execute them, whatever the umask is,
/// and keep their times. Everything else gets the time of the plan. Takes names as they are. No
/// link, name or race makes it write outside the directory, or read outside the payload, unless
/// links are followed.
///
/// Takes the directory in one atomic step: if two calls want the same directory, one of them is
/// refused. Copies exactly what was planned, and reads each file once. Then writes for all volumes
/// the lists, the manifest, the signature, volumes.txt and the markers, in this order. Puts
/// StartTUI.sh in place when all that is stored; until then, the media is not whole.
///
/// Throws CannotMake if another call has taken the directory meanwhile, std::runtime_error if a
/// file has changed since the plan, and what the library throws. What was written before stays.
void MakeMedia(const MediaMakeRequest& request, const MediaPlan& plan, const Progress& progress);

}  // namespace kvl
