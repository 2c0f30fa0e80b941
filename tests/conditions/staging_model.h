// Computes from the media alone what staging leaves if there is too little room, without any code
// of the product.
#pragma once

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {

inline constexpr long kNoLimit = std::numeric_limits<long>::max();

/// The available amount of everything that staging needs.
struct Room {
  /// In an empty file system in memory: pages for the bytes of files, inodes for files and
  /// directories. Nothing else takes any.
  long pages = kNoLimit;
  long inodes = kNoLimit;
  /// In the process: one for each directory on the way to a file, and two for the file.
  long descriptors = kNoLimit;
  /// Bytes in one file, and in one stream of messages.
  long file_size = kNoLimit;
};

/// Launches a media made by VolumeMissing with an empty {tmp}, and compares everything with what
/// follows from the room: either the copy is complete and the installer runs, or staging fails with
/// status 1 and leaves what fitted. Returns whether the installer started.
bool ExpectRunIn(LaunchWorld& world, const Room& room, const LaunchPlan& plan = {});

/// Tries the amounts from `least` to `most` in turn, up to the first failure of the test. Expects
/// the first amount to be too little, and all amounts from some amount on to suffice. Returns that
/// amount.
long FirstEnough(long least, long most, long step, const std::function<bool(long)>& is_enough);

/// Returns so many bytes; all their pages differ.
std::string DifferentBytes(long size);

}  // namespace kvl::test
