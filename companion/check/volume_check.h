// The volumes of a media one by one: where each is expected, its tag, or what is wrong with it.
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
  std::string directory;  ///< where it is expected
  std::string tag;        ///< in its marker, as VolumeReport has it; empty when there is none
  VolumeState state = VolumeState::kFound;
};

struct VolumeReport {
  /// As "volumes.txt" says; 1 without it, 0 when it cannot be known.
  VolumeNumber count = 1;
  /// Of volume 1, when there are several; Shortened to kLongestTag.
  std::string tag;
  /// Of a media of several volumes the first kMostRows, and every one beyond that is not missing.
  std::vector<VolumeRow> rows;

  static constexpr VolumeNumber kMostRows = 1000;
  static constexpr std::size_t kLongestTag = 256;
};

/// What "volumes.txt" says.
struct VolumesFile {
  VolumeNumber count = 1;  ///< 1 when it is missing, 0 when it has no number or cannot be read
  bool is_fine = true;     ///< false when something about it is among the findings
  bool is_missing = false;
};

/// Reads "volumes.txt", once.
VolumesFile CheckVolumesFile(const KVLInsIO::InsPath& media_dir, Findings& findings);

/// Looks at every volume where the scan, which has just been made, expects it. A scan that has failed,
/// or has missed what is there, is always among the findings; so is a number in "volumes.txt" when
/// another one above 0 is `described`, or when one volume more than that lies there.
VolumeReport CheckVolumes(const KVLInsIO::InsPath& media_dir, const VolumesFile& file,
                          VolumeNumber described, const ScanOutcome& scan, Findings& findings);

/// Adds a finding when the payload of the volume in `directory` is missing.
void CheckPayload(const std::string& directory, VolumeNumber volume, Findings& findings);

}  // namespace kvl
