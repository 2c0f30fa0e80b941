// What a staging leaves where there is too little room for it, worked out from the media alone.
// Nothing of the product is used for it.
#pragma once

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {

inline constexpr long kNoLimit = std::numeric_limits<long>::max();

/// What there is of everything that a staging takes.
struct Room {
  /// Of an empty file system in memory: every byte of a file lies in a page, every file and every
  /// directory takes an inode, and nothing else takes anything.
  long pages = kNoLimit;
  long inodes = kNoLimit;
  /// Of the process: one for each directory on the way to a file, and two for the file.
  long descriptors = kNoLimit;
  /// Bytes in one file, and in one stream of messages.
  long file_size = kNoLimit;
};

/// Launches a media made by VolumeMissing with an empty {tmp}, and compares everything with what
/// follows from the room that it has: either the copy is whole and the installer runs, or the
/// staging fails with status 1 and leaves what there was room for. Returns whether the installer
/// was started.
bool ExpectRunIn(LaunchWorld& world, const Room& room, const LaunchPlan& plan = {});

/// Tries one amount of something after the other, from `least` to `most`, up to the first failure
/// of the test. Claims that the first one is not enough, and from some amount on all are. Returns
/// that amount.
long FirstEnough(long least, long most, long step, const std::function<bool(long)>& is_enough);

/// This many bytes, all pages of which differ.
std::string DifferentBytes(long size);

}  // namespace kvl::test
