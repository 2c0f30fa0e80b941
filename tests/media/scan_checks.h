// Scans of a media, compared as a whole with a transcript of what they say, give back and leave in the
// environment; and scans that cannot look at anything outside their world.
//
// A transcript begins with a line feed and holds: the lines of standard output; those of standard
// error, each behind "2>"; and last "= <code>", the volumes, and those of the five variables of a scan
// that are not empty, without "KVLAdmInst"; or "= " and an exception in place of code and volumes. "{x}"
// stands for the path of x in the world. A scan is complete with every code but 0, and sets these five
// variables and no other: what is different stands behind that.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {

/// How a transcript begins: both streams.
std::string TranscriptOf(const std::string& out, const std::string& err);

/// Makes the media (see MediaWorld::Make) and scans the first of its directories. A name alone makes
/// nothing.
void ExpectScan(const std::string& media, const std::string& transcript);
/// The same in a world that holds more already, and in an environment that holds exactly `env`.
void ExpectScan(MediaWorld& world, const std::string& media, const std::string& transcript,
                const Environment& env = {}, bool is_software_management = false);

/// Scans the media named relative to the world, in a process that works in the world's directory.
/// The way up from a relative directory ends at its first name, so nothing outside is looked at.
void ExpectRelativeScan(const MediaWorld& world, const std::string& media,
                        const std::string& transcript);

/// Scans the media in a process whose root and working directory is the world. Skips the test when this
/// user cannot have that here.
void ExpectScanInOwnRoot(const MediaWorld& world, const std::string& media,
                         const std::string& transcript);

/// A file that is there and that nobody can open, root included.
void MakeUnopenable(const std::string& path);

}  // namespace kvl::test
