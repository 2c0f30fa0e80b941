// What a scan of a media is to give back, say and leave in the environment, compared as a whole;
// and scans that cannot look at anything outside their world.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Why a test that needs ScanInOwnRoot is skipped.
inline constexpr char kCannotChangeRoot[] = "this user cannot change the root directory here";

/// In every text "{x}" stands for the path of x in the world. A scan is complete with every code
/// but 0.
struct ExpectedScan {
  int code = 0;
  std::vector<std::string> volumes = {};
  std::string out = {};
  std::string err = {};
  // The variables: every scan sets these five, and no other.
  std::string volumes_count = {};
  std::string mtb_dir = {};
  std::string first_am_volume = {};
  std::string first_am_path = {};
  std::string am_relative_path = {};
};

/// The five variables with the values expected.
Environment ScanVariables(const ExpectedScan& expected);

void ExpectScan(const MediaWorld& world, const ScanSeen& seen, const ExpectedScan& expected);

/// Scans the media named relative to the world, in a process that works in the world's directory.
/// The way up from a relative directory ends at its first name, so nothing outside is looked at.
ScanSeen ScanRelative(const MediaWorld& world, const std::string& media);

/// Scans the media in a process whose root and working directory is the world. Nothing when this
/// user cannot have that here.
std::optional<ScanSeen> ScanInOwnRoot(const MediaWorld& world, const std::string& media);

/// A file that is there and that nobody can open, root included.
void MakeUnopenable(const std::string& path);

}  // namespace kvl::test
