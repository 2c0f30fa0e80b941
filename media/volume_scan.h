// Finding the volumes of an installation media.
//
// "volumes.txt" in the media's "inst" directory says how many volumes there are; the marker of each
// volume (see marker.h) says which media set it belongs to. Volume 1 is the media directory itself.
// The others lie in one of three layouts, tried in this order:
//
//   flat      markers 2.txt, 3.txt, ... in the media directory itself
//   sibling   directories 2, 3, ... beside the media directory, each with its marker
//   AM        spread over AM volumes, an outer set of numbered directories with their own markers,
//             each holding media volumes at the same relative place
#pragma once

#include <string>
#include <vector>

#include "insio/path.h"

namespace kvl {

class Logger;

/// The result codes of a scan below the number of volumes.
inline constexpr int kScanFailed = 0;
inline constexpr int kNothingMoreNeeded = 1;

enum class Layout {
  kNone,  ///< no further volume was looked for, or none was found
  kFlat,
  kSibling,
  kAm,
};

/// The AM volume that the media lies in.
struct FirstAmVolume {
  int number = 0;  ///< 0 when none was found
  KVLInsIO::InsPath directory;
  std::string tag;
  KVLInsIO::InsPath relative;  ///< the way from there to the directory that holds the media
};

struct ScanOutcome {
  /// kScanFailed; kNothingMoreNeeded for a single volume, for all volumes in the media directory,
  /// and for a scan that was skipped; else the number of volumes, 2 or more.
  int code = kScanFailed;
  /// Nothing is missing: the installer can run from where it is. True with every code but
  /// kScanFailed.
  bool complete = false;
  /// The directories of the volumes 2, 3, ... found outside the media directory, in this order.
  /// After a failure possibly some of them.
  std::vector<std::string> volumes;
  /// The layout that had the last word: the first one in which a further volume was found, of this
  /// media set or of another.
  Layout layout = Layout::kNone;
  /// The AM layout was tried, with whatever result: a list that the caller collects directories in
  /// is to be emptied before `volumes` is added.
  bool am_layout_tried = false;
  FirstAmVolume first_am = {};  ///< of the AM layout, whether the scan succeeded or not
};

/// Where a media says how many volumes it has.
KVLInsIO::InsPath VolumesFileOf(const KVLInsIO::InsPath& media_dir);

/// Scans the media, reports on the console what it finds, and leaves its findings for the installer
/// in the environment variables KVLAdmInstVolumesCount, KVLAdmInstMTBDIR, KVLAdmInstFirstAMVolume,
/// KVLAdmInstFirstAMPath and KVLAdmInstAMRelativePath, all of them emptied first. After a failure
/// they keep what was set by then. An empty `media_dir` is joined like any other, so its files and
/// siblings are looked for in the root directory; an AM volume is not.
///  - A media without "volumes.txt" is complete. So is, unread, any media in software management, and
///    one whose volumes come from a repository (KVL_Online_Installation_Caf_Repositiory is set).
///  - A marker that cannot be read counts as an absent volume; so does one without a tag.
///  - A volume of another media set is reported, the rest is still looked at, and the scan fails.
///  - Finding all volumes in the media directory empties KVLAdmInstVolumesCount, on purpose: the
///    installer sees a single-volume media.
/// Throws std::invalid_argument or std::out_of_range "stoi" when "volumes.txt" does not begin with a
/// number, or with one that is no int; what FindFirstFile throws while it looks for an AM volume.
ScanOutcome ScanMediaVolumes(const KVLInsIO::InsPath& media_dir, bool software_management,
                             Logger& logger);

}  // namespace kvl
