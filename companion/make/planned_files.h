// The paths at which a plan puts files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"

namespace kvl {

/// Returns the place where the launcher finds a volume, below the media's directory. Empty if that
/// is the media's directory itself.
std::string PlaceOfVolume(Layout layout, std::size_t volume);

// The paths of entries below the place of their volume.

std::string PathOfPayload(std::size_t volume, const PayloadEntry& entry);
/// Returns the path of an entry of --inst: in "inst", except for ReadMe_UNIX.txt.
std::string PathOfInst(const PayloadEntry& entry);
/// Returns whether an entry of --inst is the author's own ReadMe_UNIX.txt.
bool IsReadMe(const PayloadEntry& entry);

/// Called with a file that make copies: its volume, its path below the place of the volume, its
/// size in bytes.
using SeeFile =
    std::function<void(std::size_t volume, const std::string& path, std::uint64_t size)>;

/// Calls `see` with all files and links of the payload, then with those for "inst", then with the
/// programs.
void ForEachCopy(const MediaPlan& plan, const SeeFile& see);

}  // namespace kvl
