#include "companion/volume_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <string_view>

#include "console/text.h"
#include "environment/environment.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "insio/finder.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;
using KVLInsIO::Join;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kFound = "found";
constexpr std::string_view kMissing = "missing";
constexpr std::string_view kOtherTag = "other-tag";
constexpr std::string_view kUnreadable = "unreadable";
constexpr std::string_view kNoTag = "no-tag";

std::string VolumesFile(const InsPath& media_dir) {
  return Join(Join(media_dir.Str(), "inst").Str(), "volumes.txt").Str();
}

bool IsReadable(const std::string& path) {
  return KVLInsIO::IsRegularFile(path) &&
         ::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
}

/// What lies at the path of a marker, in a volume's words.
std::string_view StateOf(const std::string& marker, const std::string& tag,
                         const std::string& wanted) {
  if (!tag.empty()) return tag == wanted ? kFound : kOtherTag;
  if (!KVLInsIO::Exists(marker)) return kMissing;
  return IsReadable(marker) ? kNoTag : kUnreadable;
}

class VolumeCheck {
 public:
  VolumeCheck(const InsPath& media_dir, const ScanOutcome& scan, Findings& findings)
      : media_dir_(media_dir), scan_(scan), findings_(findings) {}

  VolumeReport Run() {
    const std::optional<std::string> line = ReadFirstLine(VolumesFile(media_dir_)).text;
    report_.count = line ? ToIntOr(*line, 0) : 0;
    if (report_.count <= 1) return std::move(report_);
    const std::string marker = Join(media_dir_.Str(), MarkerName(1)).Str();
    report_.tag = ReadMtbDir(marker);
    Record(1, media_dir_, marker, report_.tag);
    if (report_.tag.empty()) return std::move(report_);  // the launcher looks no further, either
    if (scan_.layout == Layout::kNone) LookForAmMarker();
    const VolumeNumber last = std::min(report_.count, VolumeReport::kMostRows);
    for (VolumeNumber i = 2; i <= last; ++i) LookAt(i);
    LookAtThoseBeyond(last);
    return std::move(report_);
  }

 private:
  /// Where a volume belongs: in which directory, and in which AM volume.
  struct Place {
    InsPath directory;
    InsPath am_directory;  // empty outside the AM layout
    VolumeNumber am_number = 0;
  };

  bool IsInAmVolumes() const {
    if (scan_.layout == Layout::kAm) return true;
    return scan_.layout == Layout::kNone && !GetEnv(variables::kFirstAmPath).empty();
  }

  Place PlaceOf(VolumeNumber i) const {
    if (scan_.layout == Layout::kFlat) return {media_dir_, {}};
    if (!IsInAmVolumes()) return {Join(media_dir_.Parent().Str(), std::to_string(i)), {}};
    const InsPath outer = InsPath(GetEnv(variables::kFirstAmPath)).Parent();
    const VolumeNumber am_number = ToIntOr(GetEnv(variables::kFirstAmVolume), 1) + i - 1;
    const InsPath am_directory = Join(outer.Str(), std::to_string(am_number));
    const InsPath inner = Join(am_directory.Str(), GetEnv(variables::kAmRelativePath));
    return {Join(inner.Str(), std::to_string(i)), am_directory, am_number};
  }

  void LookAt(VolumeNumber i) {
    const Place place = PlaceOf(i);
    if (!place.am_directory.IsEmpty() && !LookAtAmVolume(i, place)) return;
    const std::string marker = Join(place.directory.Str(), MarkerName(i)).Str();
    Record(i, place.directory, marker, ReadMtbDir(marker));
  }

  /// False when the AM volume is not as it should be, so that nobody looks into it.
  bool LookAtAmVolume(VolumeNumber i, const Place& place) {
    const std::string wanted = GetEnv(variables::kMtbDir);
    const std::string marker = Join(place.am_directory.Str(), MarkerName(place.am_number)).Str();
    const std::string tag = ReadMtbDir(marker);
    const std::string_view state = StateOf(marker, tag, wanted);
    if (state == kFound) return true;
    report_.rows.push_back({i, place.directory.Str(), "", std::string(state)});
    AddFinding("AM volume " + std::to_string(place.am_number), marker, state, tag, wanted);
    return false;
  }

  void Record(VolumeNumber i, const InsPath& directory, const std::string& marker,
              const std::string& tag) {
    const std::string& wanted = report_.tag;
    const std::string_view state = StateOf(marker, tag, wanted);
    report_.rows.push_back({i, directory.Str(), tag, std::string(state)});
    if (state != kFound) AddFinding("volume " + std::to_string(i), marker, state, tag, wanted);
  }

  void AddFinding(const std::string& volume, const std::string& marker, std::string_view state,
                  const std::string& tag, const std::string& wanted) {
    const auto warn = [&](const char* code, const std::string& text, const std::string& remedy) {
      findings_.Add({code, Severity::kWarning, marker, text, remedy});
    };
    if (state == kMissing) {
      warn("volume-missing", volume + " is missing: it has no marker",
           "copy the whole volume there");
    } else if (state == kOtherTag) {
      warn("volume-of-another-media", volume + " has the tag " + tag + " instead of " + wanted,
           "put the volume of the same media there");
    } else if (state == kUnreadable) {
      warn("marker-unreadable", "the marker of " + volume + " cannot be read",
           "make it a regular file with read permission (chmod a+r)");
    } else {
      warn("marker-without-tag", "the marker of " + volume + " has no line MTBDIR=<tag>",
           "copy the marker again");
    }
  }

  /// Behind the rows, only what is there is worth a word.
  void LookAtThoseBeyond(VolumeNumber last) {
    if (last == report_.count) return;
    const bool is_flat = scan_.layout == Layout::kFlat;
    const bool is_am = IsInAmVolumes();
    const InsPath directory = is_flat ? media_dir_
                              : is_am ? InsPath(GetEnv(variables::kFirstAmPath)).Parent()
                                      : media_dir_.Parent();
    const VolumeNumber ahead = is_am ? ToIntOr(GetEnv(variables::kFirstAmVolume), 1) - 1 : 0;
    VolumeNumber looked_at = 0;
    ForEachNumber(directory, is_flat ? kMarkerExtension : "",
                  {last + 1 + ahead, report_.count + ahead}, [&](VolumeNumber number) {
                    ++looked_at;
                    LookAt(number - ahead);
                  });
    const VolumeNumber rest = report_.count - last - looked_at;
    if (rest == 0) return;
    findings_.Add({"more-volumes-missing", Severity::kWarning, VolumesFile(media_dir_),
                   std::to_string(rest) + " volumes above " + std::to_string(last) + " are missing",
                   "copy them, or correct the number in volumes.txt"});
  }

  /// The first file above the media with the name of an AM volume's marker has the last word; one
  /// without a tag ends the search.
  void LookForAmMarker() {
    for (InsPath dir = media_dir_.Parent(); !dir.IsEmpty(); dir = dir.Parent()) {
      std::string found;
      KVLInsIO::ForEachName(dir.Str(), [&](std::string_view name) {
        if (!found.empty() || VolumeOfMarkerName(name) < 1) return;
        std::string path = Join(dir.Str(), name).Str();
        struct stat status;
        if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) found = std::move(path);
      });
      if (found.empty()) continue;
      if (!ReadMtbDir(found).empty()) return;
      findings_.Add({"am-marker-without-tag", Severity::kWarning, found,
                     "it looks like the marker of an AM volume, and has no line MTBDIR=<tag>",
                     "copy the marker again, or remove it if it is none"});
      return;
    }
  }

  const InsPath& media_dir_;
  const ScanOutcome& scan_;
  Findings& findings_;
  VolumeReport report_;
};

/// The first bytes of the file: no line of any use is longer.
std::string BeginningOf(const std::string& path) {
  constexpr std::size_t kEnough = 4096;
  std::string text(kEnough, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return text;
}

}  // namespace

void CheckVolumesFile(const InsPath& media_dir, Findings& findings) {
  const std::string path = VolumesFile(media_dir);
  if (!KVLInsIO::Exists(path)) return;
  const auto warn = [&](const char* code, const char* text, const char* remedy) {
    findings.Add({code, Severity::kWarning, path, text, remedy});
  };
  if (!IsReadable(path)) {
    warn("volumes-file-unreadable", "the number of volumes cannot be read",
         "make it a regular file with read permission (chmod a+r)");
    return;
  }
  const std::string text = BeginningOf(path);
  const std::string line = text.substr(0, text.find('\n'));
  if (text.empty()) {
    warn("volumes-file-empty", "it has no line with the number of volumes",
         "write the number into it");
  } else if (text.starts_with(kByteOrderMark)) {
    warn("byte-order-mark", "it begins with a byte order mark, so that its number is none",
         "save it without a byte order mark");
  }
  if (line.find('\r') != std::string::npos) {
    warn("carriage-return", "its first line has a carriage return",
         "save it with line feeds alone");
  }
}

VolumeReport CheckVolumes(const InsPath& media_dir, const ScanOutcome& scan, Findings& findings) {
  if (!KVLInsIO::Exists(VolumesFile(media_dir))) return {};
  return VolumeCheck(media_dir, scan, findings).Run();
}

}  // namespace kvl
