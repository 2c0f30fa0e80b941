// Making a media from a payload: volumes with their markers, the installer's "inst", description files
// and start scripts.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"
#include "companion/make/planned_files.h"

namespace kvl {

struct Progress {
  /// Told of each file before it is copied: its volume, and its path there as in ForEachCopy.
  SeeFile file;
  /// Told how much of the whole payload has been copied, by one thread at a time.
  std::function<void(std::uint64_t bytes_done, std::uint64_t bytes_in_all)> bytes;
};

/// Volume i holds payload/i, what has been put on it, and in its directory (see MediaWriter) the list
/// of its files, i.sha256, and media.manifest. Files get the modes 644 and 755, whatever the umask and
/// those of the payload, and keep their times; all else has the time of the plan. Names are taken as
/// they are, and no link, name or race leads out of the directory, or elsewhere than into the payload.
///
/// The directory is taken with one step, so that of two who want it at once one is refused. What is
/// written is what was planned, and each file is read once. Then come, each for all volumes, lists,
/// manifest, signature, volumes.txt and markers, and when all that is stored StartTUI.sh: before,
/// the media is not whole.
///
/// `plan` is that of the request. Throws CannotMake when somebody else has taken the directory
/// since; what the library throws when something cannot be read or written, and std::runtime_error
/// when a file has changed since. What has been written by then stays.
void MakeMedia(const MediaMakeRequest& request, const MediaPlan& plan, const Progress& progress);

}  // namespace kvl
