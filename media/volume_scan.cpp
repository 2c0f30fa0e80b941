#include "media/volume_scan.h"

#include <optional>
#include <utility>

#include "console/logger.h"
#include "console/text.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "insio/finder.h"
#include "media/marker.h"
#include "media/numbered_entries.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;
using KVLInsIO::Join;

/// The answer of a layout; without a value, the scan tries the next layout.
using LayoutAnswer = std::optional<ScanOutcome>;

struct MediaSet {
  InsPath dir;
  int count;
  std::string tag;
};

class Report {
 public:
  explicit Report(Logger& logger) : logger_(logger) {}
  void Information(std::string text) { logger_.Message(std::move(text), kInformation, kMarked); }
  void Warning(std::string text) { logger_.Message(std::move(text), kWarning, kMarked); }
  void More(std::string text) { logger_.Message(std::move(text), kContinuation, kMarked); }

  /// Writes `where` between the two tags. Tags can be long, so this copies none needlessly.
  void WrongVolume(const std::string& volume, std::string tag, const std::string& where,
                   const std::string& wanted_tag) {
    constexpr std::size_t kRoomForTheRest = 64;
    std::string text = std::move(tag);
    text.reserve(volume.size() + text.size() + where.size() + wanted_tag.size() + kRoomForTheRest);
    text.insert(0, volume + " of ").append(where).append(wanted_tag);
    Warning(std::move(text));
  }

 private:
  Logger& logger_;
};

ScanOutcome Failed(std::vector<std::string> volumes = {}) {
  return {kScanFailed, /*complete=*/false, std::move(volumes), Layout::kNone};
}

ScanOutcome CompleteAsItIs() {
  return {kNothingMoreNeeded, /*complete=*/true, /*volumes=*/{}, Layout::kNone};
}

/// A volume outside the media directory has its number alone as its name.
constexpr std::string_view kNoExtension;

std::string VolumeName(VolumeNumber number) {
  return "Volume " + std::to_string(number);
}

std::string AmVolumeName(VolumeNumber number) {
  return "AM volume " + std::to_string(number);
}

std::string FoundIn(const InsPath& dir) {
  return " found in " + dir.Str() + " instead of ";
}

std::string TagIn(const InsPath& dir, VolumeNumber volume) {
  return ReadMtbDir(Join(dir.Str(), MarkerName(volume)).Str());
}

/// Returns the directory in `dir` that is named by the volume's number.
InsPath Numbered(const InsPath& dir, VolumeNumber volume) {
  return Join(dir.Str(), std::to_string(volume));
}

/// What the scan of a layout has found so far, volume 1 included.
struct Tally {
  VolumeNumber found = 1;
  bool mismatch = false;
  std::vector<std::string> volumes;  // the directories of volumes outside the media directory
};

/// Returns the answer of a layout once the scan has looked for all its volumes.
LayoutAnswer Judge(Tally tally, Layout layout, const MediaSet& media, Report& report) {
  ScanOutcome answer = Failed(std::move(tally.volumes));
  answer.layout = layout;
  if (tally.mismatch) return answer;
  if (tally.found == media.count) {
    answer.code = media.count;
    answer.complete = true;
    return answer;
  }
  if (tally.found == 1) return std::nullopt;
  // Message: WARN: Missing volumes. Please make sure you copied everything correctly.
  // Cause: Some volumes are there, others are not. The lines before this one name those that
  // were found; in the flat layout, none.
  // Remedy: Copy the others beside them, in the flat layout into the same directory;
  // `kvl-media check` names them.
  report.Warning("Missing volumes. Please make sure you copied everything correctly.");
  return answer;
}

/// Looks for the volume in `dir`. Reports a volume of another media set.
void LookFor(VolumeNumber volume, const InsPath& dir, const MediaSet& media, Report& report,
             Tally& tally) {
  std::string tag = TagIn(dir, volume);
  if (tag.empty()) return;
  if (tag != media.tag) {
    // Message: WARN: Volume [...] of [...] found in [...] instead of [...]
    // Cause: The volume there belongs to another media. The first tag is the one found, the
    // last the one wanted.
    // Remedy: Put the right volume there.
    report.WrongVolume(VolumeName(volume), std::move(tag), FoundIn(dir), media.tag);
    tally.mismatch = true;
    return;
  }
  ++tally.found;
  // Message: INFO: Volume [...] found in: [...]
  // Cause: This volume of the media is there.
  report.More(VolumeName(volume) + " found in: " + dir.Str());
  tally.volumes.push_back(dir.Str());
}

LayoutAnswer ScanFlatLayout(const MediaSet& media, Report& report) {
  Tally tally;
  ForEachNumber(media.dir, names::kMarkerExtension, {2, media.count}, [&](VolumeNumber i) {
    std::string tag = TagIn(media.dir, i);
    if (tag.empty()) return;
    if (tag == media.tag) {
      ++tally.found;
    } else {
      // Message: WARN: Volume [...] of [...] found in the directory of [...]
      // Cause: Volumes of two media lie in one directory.
      // Remedy: Copy each media into a directory of its own.
      report.WrongVolume(VolumeName(i), std::move(tag), " found in the directory of ", media.tag);
      tally.mismatch = true;
    }
  });
  LayoutAnswer answer = Judge(std::move(tally), Layout::kFlat, media, report);
  if (answer && answer->complete) {
    // Message: INFO: All volumes found in: [...]
    // Cause: All volumes lie in one directory.
    report.More("All volumes found in: " + media.dir.Str());
    SetEnv(variables::kVolumesCount, "");  // so that the installer sees a single-volume media
    answer->code = kNothingMoreNeeded;
  }
  return answer;
}

LayoutAnswer ScanSiblingLayout(const MediaSet& media, Report& report) {
  report.More(VolumeName(1) + " found in: " + media.dir.Str());
  const InsPath parent = media.dir.Parent();
  Tally tally;
  ForEachNumber(parent, kNoExtension, {2, media.count},
                [&](VolumeNumber i) { LookFor(i, Numbered(parent, i), media, report, tally); });
  return Judge(std::move(tally), Layout::kSibling, media, report);
}

/// Returns the first file in `dir`, in the system's order, whose name is that of a marker. If its
/// marker has no tag, warns and returns an empty tag.
std::optional<FirstAmVolume> FindAmVolumeIn(const InsPath& dir, Report& report) {
  KVLInsIO::InsFileFinder finder = KVLInsIO::FindFirstFile(dir.Str(), KVLInsIO::kFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    const std::string& name = finder.Name();
    const int number = VolumeOfMarkerName(name);
    if (number < 1) continue;
    std::string tag = ReadMtbDir(Join(dir.Str(), name).Str());
    if (tag.empty()) {
      // Message: WARN: Cannot open [...] in [...]
      //   Please make sure you copied and/or extracted everything properly.
      // Cause: A file in a directory that contains the media has the name of an AM marker, such
      // as `7.txt`, and cannot be read or has no tag in it.
      // Remedy: Move it away if it is no marker. Copy it again if it is one.
      report.Warning("Cannot open " + name + " in " + dir.Str());
      report.More("Please make sure you copied and/or extracted everything properly.");
    }
    return FirstAmVolume{number, dir, std::move(tag), {}};
  }
  return std::nullopt;
}

/// Finds the AM volume that holds the media: searches the ancestors of the media directory, the
/// nearest first. Returns nothing if none has a marker, or if the nearest marker has no tag.
std::optional<FirstAmVolume> FindFirstAmVolume(const InsPath& media_dir, Report& report) {
  for (InsPath dir = media_dir.Parent(); !dir.IsEmpty(); dir = dir.Parent()) {
    std::optional<FirstAmVolume> volume = FindAmVolumeIn(dir, report);
    if (!volume) continue;
    if (volume->tag.empty()) return std::nullopt;
    volume->relative = MakeRelative(dir, media_dir.Parent());
    return volume;
  }
  return std::nullopt;
}

void Publish(const FirstAmVolume& first) {
  SetEnv(variables::kMtbDir, first.tag);
  SetEnv(variables::kFirstAmVolume, std::to_string(first.number));
  SetEnv(variables::kFirstAmPath, first.directory.Str());
  SetEnv(variables::kAmRelativePath, first.relative.Str());
}

/// Returns true if `dir` is the AM volume. Reports a volume of another AM set.
bool IsAmVolume(VolumeNumber number, const InsPath& dir, const std::string& wanted_tag,
                Report& report, Tally& tally) {
  std::string tag = TagIn(dir, number);
  if (tag.empty()) return false;
  if (tag != wanted_tag) {
    // Message: WARN: AM volume [...] of [...] found in [...] instead of [...]
    // Cause: The AM volume there belongs to another media.
    // Remedy: Put the right AM volume there.
    report.WrongVolume(AmVolumeName(number), std::move(tag), FoundIn(dir), wanted_tag);
    tally.mismatch = true;
    return false;
  }
  // Message: INFO: AM volume [...] found in: [...]
  // Cause: This AM volume holds, or may hold, a volume of the media.
  report.More(AmVolumeName(number) + " found in: " + dir.Str());
  return true;
}

ScanOutcome ScanAmVolumes(const MediaSet& media, const FirstAmVolume& first, Report& report) {
  const InsPath outer = first.directory.Parent();
  // The number of an AM volume minus that of the media volume in it.
  const VolumeNumber ahead = first.number - 1;
  Tally tally;
  ForEachNumber(outer, kNoExtension, {2 + ahead, media.count + ahead}, [&](VolumeNumber am_number) {
    const InsPath am_dir = Numbered(outer, am_number);
    if (!IsAmVolume(am_number, am_dir, first.tag, report, tally)) return;
    const VolumeNumber i = am_number - ahead;
    LookFor(i, Numbered(Join(am_dir.Str(), first.relative.Str()), i), media, report, tally);
  });
  // On purpose there is no message if the scan found no volume at all here.
  return Judge(std::move(tally), Layout::kAm, media, report).value_or(Failed());
}

ScanOutcome ScanAmLayout(const MediaSet& media, Report& report) {
  ScanOutcome outcome = Failed();
  if (auto first = FindFirstAmVolume(media.dir, report)) {
    report.More(AmVolumeName(first->number) + " found in: " + first->directory.Str());
    Publish(*first);
    outcome = ScanAmVolumes(media, *first, report);
    outcome.first_am = *std::move(first);
  }
  outcome.am_layout_tried = true;
  return outcome;
}

void EmptyScanVariables() {
  for (const char* variable : variables::kOfMediaScan) SetEnv(variable, "");
}

}  // namespace

InsPath VolumesFileOf(const InsPath& media_dir) {
  return Join(Join(media_dir.Str(), names::kInst).Str(), names::kVolumesFile);
}

ScanOutcome ScanMediaVolumes(const InsPath& media_dir, bool software_management, Logger& logger) {
  EmptyScanVariables();
  const InsPath volumes_file = VolumesFileOf(media_dir);
  if (!KVLInsIO::Exists(volumes_file.Str())) return CompleteAsItIs();
  if (software_management || !GetEnv(variables::kOnlineRepository).empty()) {
    return CompleteAsItIs();
  }

  const std::optional<std::string> line = ReadFirstLine(volumes_file.Str()).text;
  if (!line) return Failed();
  const int count = std::stoi(*line);
  if (count <= 1) return CompleteAsItIs();

  Report report(logger);
  // Message: INFO: This media is composed of [...] volumes.
  // Cause: This is the first line of `volumes.txt`. The launcher looks for the volumes next.
  report.Information("This media is composed of " + *line + " volumes.");
  SetEnv(variables::kVolumesCount, *line);
  const MediaSet media = {media_dir, count, TagIn(media_dir, 1)};
  if (media.tag.empty()) {
    // Message: WARN: 1.txt not found or not accessible in: [...]
    //   Please make sure you copied the whole volume.
    // Cause: The marker of volume 1 is missing, cannot be read or has no tag in it.
    // Remedy: Copy volume 1 again.
    report.Warning("1.txt not found or not accessible in: " + media_dir.Str());
    report.More("Please make sure you copied the whole volume.");
    return Failed();
  }
  SetEnv(variables::kMtbDir, media.tag);

  if (const LayoutAnswer flat = ScanFlatLayout(media, report)) return *flat;
  if (const LayoutAnswer sibling = ScanSiblingLayout(media, report)) return *sibling;
  return ScanAmLayout(media, report);
}

}  // namespace kvl
