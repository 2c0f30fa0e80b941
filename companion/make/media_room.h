// The room that a media takes on the file system that it is written to.
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

struct MediaPlan;

struct Room {
  std::uint64_t bytes = 0;
  std::uint64_t entries = 0;  ///< files and directories
};

/// What a media, with its disc images, takes where a file, as a directory, takes whole blocks of so many bytes; a little more
/// for the lists of its files, whose length is known only when they are written.
Room RoomFor(const MediaPlan& plan, std::uint64_t block);

/// What it takes where the directory of the plan lies, or would. Throws CannotMake when less is free
/// there to an ordinary user. A file system that does not say counts as large enough.
Room CheckRoom(const MediaPlan& plan);

}  // namespace kvl
