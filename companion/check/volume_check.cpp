#include "companion/check/volume_check.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "companion/names/plain_text.h"
#include "console/text.h"
#include "environment/media_names.h"
#include "insio/entry.h"
#include "media/line_file.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;
using KVLInsIO::Join;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The marker of a volume.
struct Marker {
  std::string path;
  std::string tag;  // empty without a tag
  int error;        // why the marker cannot be read, or 0

  explicit Marker(std::string marker_path) : path(std::move(marker_path)) {
    FileText read = ReadMarker(path);
    tag = std::move(read.text).value_or(std::string());
    error = read.error;
  }

  VolumeState State(std::string_view wanted) const {
    if (!tag.empty()) return tag == wanted ? VolumeState::kFound : VolumeState::kOtherTag;
    if (error == 0) return VolumeState::kNoTag;
    if (error == EACCES) return VolumeState::kUnreadable;
    return IsAboutThePath(error) && !KVLInsIO::Exists(path) ? VolumeState::kMissing
                                                            : VolumeState::kUnreadable;
  }
};

/// Shortens a tag: a media may have a thousand tags of a million bytes each.
std::string ShortTag(std::string_view tag) {
  return Shortened(tag, VolumeReport::kLongestTag);
}

class VolumeCheck {
 public:
  VolumeCheck(const InsPath& media_dir, const ScanOutcome& scan, Findings& findings)
      : media_dir_(media_dir), scan_(scan), findings_(findings) {}

  VolumeReport Run(const VolumesFile& file, VolumeNumber described) {
    report_.count = file.count;
    if (file.count < 1) return std::move(report_);
    const Marker first(Join(media_dir_.Str(), MarkerName(1)).Str());
    wanted_ = first.tag;
    if (file.is_fine) CompareNumber(file, described);
    if (file.count == 1) {
      AddUnseen(first.path, first.error, Severity::kWarning, findings_);
      LookForCarriageReturns(first);
      return std::move(report_);
    }
    report_.tag = ShortTag(first.tag);
    Record(1, media_dir_, first);
    if (wanted_.empty()) {  // the launcher does not look further
      SayWhichAreMissing();
      return std::move(report_);
    }
    if (scan_.layout == Layout::kNone) LookForAmMarker();
    const VolumeNumber last = std::min(report_.count, VolumeReport::kMostRows);
    for (VolumeNumber i = 2; i <= last; ++i) LookAt(i);
    LookAtThoseBeyond(last);
    SayWhichAreMissing();
    return std::move(report_);
  }

 private:
  /// Compares the number with "media.xml", or else looks for one more volume.
  void CompareNumber(const VolumesFile& file, VolumeNumber described) {
    std::string reason;
    if (described > 0) {
      if (described != file.count) {
        reason = std::string(names::kMediaXml) + " says " + std::to_string(described);
      }
    } else if (const std::string place = PlaceOfOneMore(file.count + 1); !place.empty()) {
      reason = "volume " + std::to_string(file.count + 1) + " lies in " + place;
    }
    if (reason.empty()) return;
    const std::string path = VolumesFileOf(media_dir_).Str();
    if (file.is_missing) {
      findings_.Add(FindingKind::kVolumesFileMissing, path, {reason});
    } else {
      findings_.Add(FindingKind::kVolumesFileDiffers, path, {std::to_string(file.count), reason});
    }
  }

  /// Returns the directory of volume i, which the launcher does not look for; empty if missing.
  std::string PlaceOfOneMore(VolumeNumber i) {
    if (wanted_.empty()) return {};
    for (const InsPath& directory : {media_dir_, PlaceOf(i).directory}) {
      const Marker marker(Join(directory.Str(), MarkerName(i)).Str());
      AddUnseen(marker.path, marker.error, Severity::kWarning, findings_);
      if (marker.State(wanted_) == VolumeState::kFound) return directory.Str();
    }
    return {};
  }

  /// The launcher drops a carriage return at the end of a line; other readers of a marker may not.
  void LookForCarriageReturns(const Marker& marker) {
    constexpr std::size_t kMostOfAMarker = 65536;
    if (marker.error != 0) return;
    const FileStart start = ReadStart(marker.path, kMostOfAMarker);
    if (start.error != 0) AddUnread(marker.path, start.error, Severity::kWarning, findings_);
    if (start.bytes.find('\r') == std::string::npos) return;
    findings_.Add(FindingKind::kMarkerCarriageReturn, marker.path);
  }

  /// The expected place of a volume: its directory and its AM volume.
  struct Place {
    InsPath directory;
    InsPath am_directory;  // empty outside the AM layout
    VolumeNumber am_number = 0;
  };

  bool IsInAmVolumes() const {
    if (scan_.layout == Layout::kAm) return true;
    return scan_.layout == Layout::kNone && scan_.first_am.number > 0;
  }

  Place PlaceOf(VolumeNumber i) const {
    if (scan_.layout == Layout::kFlat) return {media_dir_, {}};
    if (!IsInAmVolumes()) return {Join(media_dir_.Parent().Str(), std::to_string(i)), {}};
    const FirstAmVolume& first = scan_.first_am;
    const VolumeNumber am_number = first.number + i - 1;
    const InsPath am_directory = Join(first.directory.Parent().Str(), std::to_string(am_number));
    const InsPath inner = Join(am_directory.Str(), first.relative.Str());
    return {Join(inner.Str(), std::to_string(i)), am_directory, am_number};
  }

  void LookAt(VolumeNumber i) {
    LookWhereItIsNot(i);
    const Place place = PlaceOf(i);
    if (!place.am_directory.IsEmpty() && !LookAtAmVolume(i, place)) return;
    Record(i, place.directory, Marker(Join(place.directory.Str(), MarkerName(i)).Str()));
  }

  /// Looks at the markers of layouts that the launcher tries before this one: an unreadable marker
  /// may be the reason why the launcher takes this layout.
  void LookWhereItIsNot(VolumeNumber i) {
    const auto look_in = [&](const InsPath& directory) {
      const Marker marker(Join(directory.Str(), MarkerName(i)).Str());
      AddUnseen(marker.path, marker.error, Severity::kWarning, findings_);
    };
    if (scan_.layout != Layout::kFlat) look_in(media_dir_);
    if (IsInAmVolumes()) look_in(Join(media_dir_.Parent().Str(), std::to_string(i)));
  }

  /// Returns false if the AM volume has a finding; the launcher does not look into such a volume.
  bool LookAtAmVolume(VolumeNumber i, const Place& place) {
    const std::string& wanted = scan_.first_am.tag;
    const Marker marker(Join(place.am_directory.Str(), MarkerName(place.am_number)).Str());
    const VolumeState state = marker.State(wanted);
    LookForCarriageReturns(marker);
    if (state == VolumeState::kFound) return true;
    report_.rows.push_back({i, place.directory.Str(), "", state});
    AddFinding("AM volume", place.am_number, marker, wanted);
    return false;
  }

  void Record(VolumeNumber i, const InsPath& directory, const Marker& marker) {
    const VolumeState state = marker.State(wanted_);
    report_.rows.push_back({i, directory.Str(), ShortTag(marker.tag), state});
    if (state != VolumeState::kFound) AddFinding("volume", i, marker, wanted_);
    LookForCarriageReturns(marker);
  }

  void AddFinding(std::string_view what, VolumeNumber number, const Marker& marker,
                  std::string_view wanted) {
    if (AddUnseen(marker.path, marker.error, Severity::kWarning, findings_)) return;
    const std::string volume = std::string(what) + " " + std::to_string(number);
    const VolumeState state = marker.State(wanted);
    if (state == VolumeState::kMissing) return AddMissing(what, number, marker.path);
    SayWhichAreMissing();
    if (state == VolumeState::kOtherTag) {
      findings_.Add(FindingKind::kVolumeOfAnotherMedia, marker.path,
                    {volume, ShortTag(marker.tag), ShortTag(wanted)});
    } else if (state == VolumeState::kNoTag) {
      findings_.Add(FindingKind::kMarkerWithoutTag, marker.path, {volume});
    } else if (WhyNotAllowed(marker.path, F_OK) == EACCES) {
      findings_.Add(FindingKind::kMarkerBehindClosedWay, marker.path, {volume});
    } else {
      findings_.Add(FindingKind::kMarkerUnreadable, marker.path, {volume});
    }
  }

  /// Collects missing volumes with successive numbers for one finding.
  void AddMissing(std::string_view what, VolumeNumber number, const std::string& marker) {
    if (missing_ && missing_->what == what && missing_->last + 1 == number) {
      missing_->last = number;
      return;
    }
    SayWhichAreMissing();
    missing_ = {what, number, number, marker};
  }

  void SayWhichAreMissing() {
    if (!missing_) return;
    const std::string what(missing_->what), first = std::to_string(missing_->first);
    if (missing_->first == missing_->last) {
      findings_.Add(FindingKind::kVolumeMissing, missing_->marker, {what + " " + first});
    } else {
      findings_.Add(FindingKind::kVolumesMissing, missing_->marker,
                    {what + "s", first, std::to_string(missing_->last)});
    }
    missing_.reset();
  }

  /// Looks at the volumes above `last` that are there, and counts the others.
  void LookAtThoseBeyond(VolumeNumber last) {
    if (last == report_.count) return;
    const bool is_flat = scan_.layout == Layout::kFlat;
    const bool is_am = IsInAmVolumes();
    const InsPath directory = is_flat ? media_dir_
                              : is_am ? scan_.first_am.directory.Parent()
                                      : media_dir_.Parent();
    const VolumeNumber ahead = is_am ? scan_.first_am.number - 1 : 0;
    VolumeNumber looked_at = 0;
    ForEachNumber(directory, is_flat ? names::kMarkerExtension : "",
                  {last + 1 + ahead, report_.count + ahead}, [&](VolumeNumber number) {
                    ++looked_at;
                    LookAt(number - ahead);
                  });
    const VolumeNumber rest = report_.count - last - looked_at;
    if (rest == 0) return;
    SayWhichAreMissing();
    findings_.Add(FindingKind::kMoreVolumesMissing, VolumesFileOf(media_dir_).Str(),
                  {std::to_string(rest), std::to_string(last)});
  }

  /// Adds a finding if the first file above the media that has the name of an AM marker has no tag:
  /// the launcher ends its search there.
  void LookForAmMarker() {
    for (InsPath dir = media_dir_.Parent(); !dir.IsEmpty(); dir = dir.Parent()) {
      const std::string found = FirstMarkerIn(dir);
      if (found.empty()) continue;
      const Marker marker(found);
      if (!marker.tag.empty()) return;
      if (AddUnseen(found, marker.error, Severity::kWarning, findings_)) return;
      findings_.Add(FindingKind::kAmMarkerWithoutTag, found);
      return;
    }
  }

  /// Returns the path of the first marker in the order of the system; empty without a marker.
  std::string FirstMarkerIn(const InsPath& dir) {
    const DirectoryNames list = NamesIn(dir.Str());
    AddUnseen(dir.Str(), list.error, Severity::kWarning, findings_);
    for (const std::string& name : list.names) {
      if (VolumeOfMarkerName(name) < 1) continue;
      std::string path = Join(dir.Str(), name).Str();
      if (!StateAt(path).IsDirectory()) return path;
    }
    return {};
  }

  const InsPath& media_dir_;
  const ScanOutcome& scan_;
  Findings& findings_;
  std::string_view wanted_;  // the tag of volume 1, while it is needed
  struct Missing {
    std::string_view what;
    VolumeNumber first, last;
    std::string marker;  // of the first volume
  };
  std::optional<Missing> missing_;  // not reported yet
  VolumeReport report_;
};

bool IsFound(const VolumeRow& row) {
  return row.state == VolumeState::kFound;
}

}  // namespace

VolumesFile CheckVolumesFile(const InsPath& media_dir, Findings& findings) {
  const std::string path = VolumesFileOf(media_dir).Str();
  const int missing = WhyNotAllowed(path, F_OK);
  if (AddUnseen(path, missing, Severity::kWarning, findings) ||
      AddClosedWay(path, missing, Severity::kWarning, findings)) {
    return {.count = 0, .is_fine = false};
  }
  if (missing != 0) return {.is_missing = true};
  FileStart start = ReadStart(path, LineFile::kLongestLine);
  const bool is_empty = start.bytes.empty();
  const std::string& line = start.bytes.erase(std::min(start.bytes.find('\n'), start.bytes.size()));
  VolumesFile file = {.count = ToIntOr(line, 0)};
  const auto warn = [&](FindingKind kind) {
    findings.Add(kind, Severity::kWarning, path);
    file.is_fine = false;
  };
  if (AddUnseen(path, start.error, Severity::kWarning, findings)) {
    file.is_fine = false;
  } else if (start.error != 0) {
    warn(FindingKind::kVolumesFileUnreadable);
  } else if (is_empty) {
    warn(FindingKind::kVolumesFileEmpty);
  } else if (line.starts_with(kByteOrderMark)) {
    warn(FindingKind::kByteOrderMark);
  }
  if (line.find('\r') != std::string::npos) warn(FindingKind::kCarriageReturn);
  return file;
}

VolumeReport CheckVolumes(const InsPath& media_dir, const VolumesFile& file, VolumeNumber described,
                          const ScanOutcome& scan, Findings& findings) {
  VolumeReport report = VolumeCheck(media_dir, scan, findings).Run(file, described);
  const bool is_all_found = std::all_of(report.rows.begin(), report.rows.end(), IsFound);
  const bool is_misled = !scan.complete || (file.count > 1 && scan.layout == Layout::kNone);
  if (is_misled && file.is_fine && is_all_found) {
    findings.Add(FindingKind::kSearchFails, media_dir.Str());
  }
  return report;
}

void CheckPayload(const std::string& directory, VolumeNumber volume, Findings& findings) {
  const std::string payload =
      PathBelow(PathBelow(directory, names::kPayload), std::to_string(volume));
  const PathState state = StateAt(payload);
  if (state.IsDirectory() || AddUnseen(payload, state.error, Severity::kWarning, findings)) return;
  if (AddClosedWay(payload, state.error, Severity::kWarning, findings)) return;
  findings.Add(FindingKind::kPayloadMissing, payload, {std::to_string(volume)});
}

}  // namespace kvl
