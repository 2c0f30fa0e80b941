// Compares whole scans of a media with a transcript of their messages, results and variables. Also
// runs scans that cannot look outside their world.
//
// A transcript begins with a line feed. It contains the lines of standard output, then those of
// standard error, each behind "2>", and at last "= <code>", the volumes, and the non-empty ones of
// the scan's five variables, without "KVLAdmInst". An exception replaces code and volumes. "{x}"
// stands for the path of x in the world. A scan is complete with every code but 0, and sets only
// these five variables; the transcript ends with anything that differs from that.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Returns the beginning of a transcript: both streams.
std::string TranscriptOf(const std::string& out, const std::string& err);

/// Makes the media (see MediaWorld::Make) and scans the first of its directories. With a name
/// alone, makes nothing.
void ExpectScan(const std::string& media, const std::string& transcript);
/// Does the same in a world that already has other contents, with exactly `env` as the environment.
void ExpectScan(MediaWorld& world, const std::string& media, const std::string& transcript,
                const Environment& env = {}, bool is_software_management = false);

/// Scans the media by a path relative to the world, in a process that works in the world's
/// directory. The search above a relative directory ends at its first name, so it stays in the
/// world.
void ExpectRelativeScan(const MediaWorld& world, const std::string& media,
                        const std::string& transcript);

/// Scans the media in a process whose root and working directory is the world. Skips the test if
/// the user lacks the permission for that.
void ExpectScanInOwnRoot(const MediaWorld& world, const std::string& media,
                         const std::string& transcript);

/// Makes a file that nobody can open, not even root.
void MakeUnopenable(const std::string& path);

}  // namespace kvl::test
