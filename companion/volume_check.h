// The volumes of a media one by one: where each is expected, its tag, or what is wrong with it.
#pragma once

#include <string>
#include <vector>

#include "companion/findings.h"
#include "insio/path.h"
#include "media/numbered_entries.h"
#include "media/volume_scan.h"

namespace kvl {

struct VolumeRow {
  VolumeNumber number = 1;
  std::string directory;  ///< where it is expected
  std::string tag;        ///< in its marker; empty when there is none
  /// "found", "missing", "other-tag", "unreadable" or "no-tag"
  std::string state;
};

struct VolumeReport {
  /// As "volumes.txt" says; 1 without it, 0 when it cannot be known.
  VolumeNumber count = 1;
  std::string tag;  ///< of volume 1, when there are several
  /// Of a media of several volumes the first kMostRows, and every one beyond that is not missing.
  std::vector<VolumeRow> rows;

  static constexpr VolumeNumber kMostRows = 1000;
};

/// What the bytes of "volumes.txt" are; `aborts` when the launcher will not survive its first line.
void CheckVolumesFile(const KVLInsIO::InsPath& media_dir, Findings& findings);

/// Looks at every volume where the scan, which has just been made, expects it. What the scan has left
/// in the environment is read.
VolumeReport CheckVolumes(const KVLInsIO::InsPath& media_dir, const ScanOutcome& scan,
                          Findings& findings);

}  // namespace kvl
