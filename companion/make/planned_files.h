// What a plan puts where, without anything being written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "companion/make/media_plan.h"

namespace kvl {

/// Where the launcher finds a volume, below the media's directory; empty for that itself.
std::string PlaceOfVolume(Layout layout, std::size_t volume);

/// In a volume's place: an entry of its payload, and one of what goes into "inst", where the author's
/// own ReadMe_UNIX.txt is the exception.
std::string PathOfPayload(std::size_t volume, const PayloadEntry& entry);
std::string PathOfInst(const PayloadEntry& entry);
bool IsReadMe(const PayloadEntry& entry);

/// Shown a file that is to be copied: its path in the volume's place.
using SeeFile =
    std::function<void(std::size_t volume, const std::string& path, std::uint64_t size)>;

/// All files of the payload, then those for "inst" and the programs.
void ForEachCopy(const MediaPlan& plan, const SeeFile& see);

}  // namespace kvl
