// Finds the volumes of an installation media.
//
// "volumes.txt" in the media's "inst" directory says how many volumes there are. The marker of each
// volume (see marker.h) says which media set the volume belongs to. Volume 1 is the media directory
// itself. The others lie in one of three layouts, which the scan tries in this order:
//
//   flat      markers 2.txt, 3.txt, ... in the media directory itself
//   sibling   directories 2, 3, ... beside the media directory, each with its marker
//   AM        in AM volumes, an outer set of numbered directories with their own markers; each
//             holds media volumes at the same relative path
#pragma once

#include <string>
#include <vector>

#include "insio/path.h"

namespace kvl {

class Logger;

/// The result codes of a scan that are not a number of volumes.
inline constexpr int kScanFailed = 0;
inline constexpr int kNothingMoreNeeded = 1;

enum class Layout {
  kNone,  ///< the scan looked for no further volume, or found none
  kFlat,
  kSibling,
  kAm,
};

/// The AM volume that contains the media.
struct FirstAmVolume {
  int number = 0;  ///< 0 if none was found
  KVLInsIO::InsPath directory;
  std::string tag;
  KVLInsIO::InsPath relative;  ///< the path from `directory` to the directory that holds the media
};

struct ScanOutcome {
  /// kScanFailed; kNothingMoreNeeded for a single volume, for a media directory with all volumes,
  /// and for a skipped scan; otherwise the number of volumes, 2 or more.
  int code = kScanFailed;
  /// No volume is missing, so the installer can run in place. True with every code but kScanFailed.
  bool complete = false;
  /// The directories of the volumes 2, 3, ... that the scan found outside the media directory, in
  /// this order. After a failure, some may be missing.
  std::vector<std::string> volumes;
  /// The first layout in which the scan found a further volume, of this media set or of another.
  Layout layout = Layout::kNone;
  /// The scan tried the AM layout, with whatever result. A caller that collects directories empties
  /// its list before it adds `volumes`.
  bool am_layout_tried = false;
  FirstAmVolume first_am = {};  ///< set by the AM layout, even if the scan failed
};

/// Returns the path of "volumes.txt", which says how many volumes the media has.
KVLInsIO::InsPath VolumesFileOf(const KVLInsIO::InsPath& media_dir);

/// Scans the media and reports on the console what it finds. Empties the environment variables
/// KVLAdmInstVolumesCount, KVLAdmInstMTBDIR, KVLAdmInstFirstAMVolume, KVLAdmInstFirstAMPath and
/// KVLAdmInstAMRelativePath, and then sets them for the installer. After a failure they keep what
/// the scan had set by then.
///  - A media without "volumes.txt" is complete.
///  - In software management, and with KVL_Online_Installation_Caf_Repositiory set (the volumes
///    then come from a repository), every media is complete, and the scan does not read
///    "volumes.txt".
///  - A marker that cannot be read or has no tag counts as an absent volume.
///  - If a volume belongs to another media set, the scan reports it, looks at the rest, and fails.
///  - If the media directory contains all volumes, the scan empties KVLAdmInstVolumesCount, on
///    purpose: the installer sees a single-volume media.
///  - With an empty `media_dir`, the scan looks for files and siblings in the root directory, but
///    not for an AM volume.
///
/// Throws std::invalid_argument "stoi" if "volumes.txt" does not begin with a number,
/// std::out_of_range "stoi" if that number does not fit into an int, and what FindFirstFile throws
/// while it looks for an AM volume.
ScanOutcome ScanMediaVolumes(const KVLInsIO::InsPath& media_dir, bool software_management,
                             Logger& logger);

}  // namespace kvl
