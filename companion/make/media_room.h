// Computing the room that a media takes on the file system that make writes it to.
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

struct MediaPlan;

struct Room {
  std::uint64_t bytes = 0;
  std::uint64_t entries = 0;  ///< files and directories
};

/// Returns the room for a media and its disc images on a file system where each file and directory
/// takes whole blocks of `block` bytes. Counts a little more than the lists of files take, whose
/// lengths are known only when they are written.
Room RoomFor(const MediaPlan& plan, std::uint64_t block);

/// Returns the room on the file system of the plan's directory. Throws CannotMake if an ordinary
/// user has less there. Counts a file system that does not say what is free as large enough.
Room CheckRoom(const MediaPlan& plan);

}  // namespace kvl
