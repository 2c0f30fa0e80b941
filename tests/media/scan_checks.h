// What a scan of a media gives back, says and leaves in the environment, compared as a whole; and
// scans that cannot look at anything outside their world.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Why a test that needs ScanInOwnRoot is skipped.
inline constexpr char kCannotChangeRoot[] = "this user cannot change the root directory here";

/// Compares a scan with a transcript, which begins with a line feed and holds: the lines of standard
/// output; those of standard error, each behind "2>"; and last "= <code>", the volumes, and those of
/// the five variables of a scan that are not empty, without "KVLAdmInst". "{x}" stands for the path of
/// x in the world. A scan is complete with every code but 0, and sets these five variables and no other.
void ExpectSeen(const MediaWorld& world, const ScanSeen& seen, const std::string& transcript);

/// Makes the media (see MediaWorld::Make) and scans the first of its directories.
void ExpectScan(const std::string& media, const std::string& transcript);
/// The same in a world that holds more already.
void ExpectScan(MediaWorld& world, const std::string& media, const std::string& transcript);

/// Scans the media named relative to the world, in a process that works in the world's directory.
/// The way up from a relative directory ends at its first name, so nothing outside is looked at.
ScanSeen ScanRelative(const MediaWorld& world, const std::string& media);

/// Scans the media in a process whose root and working directory is the world. Nothing when this
/// user cannot have that here.
std::optional<ScanSeen> ScanInOwnRoot(const MediaWorld& world, const std::string& media);

/// A file that is there and that nobody can open, root included.
void MakeUnopenable(const std::string& path);

}  // namespace kvl::test
