// The check of the volumes of a media, one by one: the expected place, the tag, and what is wrong.
#pragma once

#include <string>
#include <vector>

#include "companion/check/findings.h"
#include "insio/path.h"
#include "media/numbered_entries.h"
#include "media/volume_scan.h"

namespace kvl {

enum class VolumeState {
  kFound,
  kMissing,
  kOtherTag,    ///< of another media
  kUnreadable,  ///< its marker cannot be read
  kNoTag,       ///< its marker has no tag
};

struct VolumeRow {
  VolumeNumber number = 1;
  std::string directory;  ///< where the launcher expects it
  std::string tag;        ///< of its marker, Shortened to kLongestTag; empty if there is no tag
  VolumeState state = VolumeState::kFound;
};

struct VolumeReport {
  /// The number in "volumes.txt"; 1 if the file is missing, 0 if the number is unknown.
  VolumeNumber count = 1;
  /// The tag of volume 1 of a media of several volumes, Shortened to kLongestTag.
  std::string tag;
  /// Empty for a media of one volume. Otherwise the first kMostRows volumes, and all above them
  /// that are not missing.
  std::vector<VolumeRow> rows;

  static constexpr VolumeNumber kMostRows = 1000;
  static constexpr std::size_t kLongestTag = 256;
};

/// The contents of "volumes.txt".
struct VolumesFile {
  VolumeNumber count = 1;  ///< 1 if the file is missing, 0 if it has no number or cannot be read
  bool is_fine = true;     ///< false if the file has a finding
  bool is_missing = false;
};

/// Reads "volumes.txt" once, and adds a finding for what is wrong with it.
VolumesFile CheckVolumesFile(const KVLInsIO::InsPath& media_dir, Findings& findings);

/// Looks at every volume where the launcher's scan, which has just run, expects it. Adds a finding
///   - for each volume with something wrong,
///   - for a scan that fails or misses a volume that is there,
///   - for a number in "volumes.txt" that differs from `described`, if that is above 0,
///   - for a number in "volumes.txt" if `described` is 0 or less and one more volume is there.
VolumeReport CheckVolumes(const KVLInsIO::InsPath& media_dir, const VolumesFile& file,
                          VolumeNumber described, const ScanOutcome& scan, Findings& findings);

/// Adds a finding if the payload of the volume in `directory` is missing.
void CheckPayload(const std::string& directory, VolumeNumber volume, Findings& findings);

}  // namespace kvl
