#include "tests/models/scan_model.h"

#include "tests/models/models.h"

namespace kvl::test {
namespace {

using Tags = std::map<std::int64_t, std::string>;

bool IsReadable(const MarkerFile& file) {
  return file.kind == MarkerFile::kFile || file.kind == MarkerFile::kLinkToFile;
}

/// Returns the empty text if the file cannot be read. Nobody finds a file with a backslash in its
/// name.
std::string TagOf(const MarkerFile& file) {
  return IsReadable(file) ? ModelOfTag(file.contents) : "";
}

/// Returns the tags of the volumes 2 to `count` that have one.
Tags TagsOf(const MarkerFiles& files, std::int64_t count) {
  Tags tags;
  for (const auto& [number, file] : files) {
    const std::string tag = TagOf(file);
    if (number >= 2 && number <= count && !tag.empty()) tags[number] = tag;
  }
  return tags;
}

class ScanModel {
 public:
  ScanModel(const ScanTable& table, const std::string& top)
      : table_(table), top_(top), media_(MediaPath(table, top)) {}

  ScanResult Scan() && {
    result_.env = EnvironmentOf(table_);
    for (const char* name :
         {"VolumesCount", "MTBDIR", "FirstAMVolume", "FirstAMPath", "AMRelativePath"}) {
      Set(name, "");
    }
    if (IsToBeLookedAt()) Decide();
    return std::move(result_);
  }

 private:
  void Set(const std::string& name, const std::string& value) {
    result_.env["KVLAdmInst" + name] = UpToNul(value);
  }

  void Say(const std::string& prefix, const std::string& text) {
    if (prefix == " INFO: ") stream_ = &result_.out;
    if (prefix == " WARN: ") stream_ = &result_.err;
    *stream_ += prefix + ModelOfReplaceAll(text, "\n", "\n       ", 0).text + "\n";
  }
  void Inform(const std::string& text) { Say(" INFO: ", text); }
  void Warn(const std::string& text) { Say(" WARN: ", text); }
  void Continue(const std::string& text) { Say("       ", text); }

  void Succeed(int code) {
    result_.code = code;
    result_.complete = true;
  }

  bool IsToBeLookedAt() {
    const bool exists =
        table_.volumes_file && table_.volumes_file->kind != MarkerFile::kDanglingLink;
    if (exists && !table_.is_online && !table_.is_software_management) return true;
    Succeed(1);
    return false;
  }

  void Decide() {
    const MarkerFile& file = *table_.volumes_file;
    const std::vector<std::string> lines = ModelOfLines(IsReadable(file) ? file.contents : "");
    if (lines.empty()) return;
    const NumberModel number = ModelOfNumber(UpToNul(lines.front()));
    if (!number.value) {
      result_.exception = number.has_digit ? "out of range: stoi" : "invalid argument: stoi";
      return;
    }
    count_ = *number.value;
    if (count_ <= 1) return Succeed(1);
    Inform("This media is composed of " + lines.front() + " volumes.");
    Set("VolumesCount", lines.front());

    const auto first = table_.flat.find(1);
    tag_ = first == table_.flat.end() ? "" : TagOf(first->second);
    if (tag_.empty()) {
      Warn("1.txt not found or not accessible in: " + media_);
      return Continue("Please make sure you copied the whole volume.");
    }
    Set("MTBDIR", tag_);
    if (const Tags tags = TagsOf(table_.flat, count_); !tags.empty()) return DecideFlat(tags);
    Continue("Volume 1 found in: " + media_);
    if (const Tags tags = Beside(); !tags.empty()) return DecideBeside(tags);
    DecideAm();
  }

  /// Outside the levels lies the system's root directory, which contains nothing of the table.
  Tags Beside() const { return table_.levels.empty() ? Tags() : TagsOf(table_.beside, count_); }

  /// Decides the result after the messages about single volumes.
  void Conclude(std::int64_t found, bool is_all_ours, int code) {
    if (!is_all_ours || found == 0) return;
    if (found + 1 == count_) return Succeed(code);
    Warn("Missing volumes. Please make sure you copied everything correctly.");
  }

  void DecideFlat(const Tags& tags) {
    bool is_all_ours = true;
    for (const auto& [number, tag] : tags) {
      if (tag == tag_) continue;
      is_all_ours = false;
      Warn("Volume " + std::to_string(number) + " of " + tag + " found in the directory of " +
           tag_);
    }
    Conclude(static_cast<std::int64_t>(tags.size()), is_all_ours, 1);
    if (!result_.complete) return;
    Continue("All volumes found in: " + media_);
    Set("VolumesCount", "");
  }

  /// Returns true if the volume belongs to this media.
  bool Meet(std::int64_t number, const std::string& tag, const std::string& place) {
    const std::string name = "Volume " + std::to_string(number);
    if (tag != tag_) {
      Warn(name + " of " + tag + " found in " + place + " instead of " + tag_);
      return false;
    }
    Continue(name + " found in: " + place);
    result_.volumes.push_back(place);
    return true;
  }

  void DecideBeside(const Tags& tags) {
    const std::string parent = ModelOfPath(media_).Parent().Text();
    bool is_all_ours = true;
    for (const auto& [number, tag] : tags) {
      is_all_ours &= Meet(number, tag, parent + "/" + std::to_string(number));
    }
    Conclude(static_cast<std::int64_t>(tags.size()), is_all_ours, static_cast<int>(count_));
  }

  void DecideAm() {
    const FirstAmLevel first = FindFirstAmLevel(table_);
    if (!first.number) return;
    const MediaLevel& level = table_.levels[first.index];
    PathModel dir = ModelOfPath(media_);
    for (std::size_t i = 0; i <= first.index; ++i) dir = dir.Parent();
    const bool is_named_oddly = level.marker_name.find('\\') != std::string::npos;
    const std::string am_tag = is_named_oddly ? "" : TagOf(level.marker);
    if (am_tag.empty()) {
      Warn("Cannot open " + level.marker_name + " in " + dir.Text());
      return Continue("Please make sure you copied and/or extracted everything properly.");
    }
    const std::string way = WayIntoAmVolume(table_, top_);
    Continue("AM volume " + std::to_string(*first.number) + " found in: " + dir.Text());
    Set("MTBDIR", am_tag);
    Set("FirstAMVolume", std::to_string(*first.number));
    Set("FirstAMPath", dir.Text());
    Set("AMRelativePath", way);
    DecideAmVolumes(*first.number - 1, am_tag, way);
  }

  void DecideAmVolumes(std::int64_t ahead, const std::string& am_tag, const std::string& way) {
    const std::string outer = OuterPath(table_, top_);
    std::int64_t found = 0;
    bool is_all_ours = true;
    for (const auto& [number, entry] : table_.am) {
      const std::int64_t volume = number - ahead;
      const std::string marker_tag = entry.marker ? TagOf(*entry.marker) : "";
      if (volume < 2 || volume > count_ || marker_tag.empty()) continue;
      const std::string name = "AM volume " + std::to_string(number);
      const std::string dir = outer + "/" + std::to_string(number);
      if (marker_tag != am_tag) {
        Warn(name + " of " + marker_tag + " found in " + dir + " instead of " + am_tag);
        is_all_ours = false;
        continue;
      }
      Continue(name + " found in: " + dir);
      const std::string tag = entry.volume ? TagOf(*entry.volume) : "";
      if (tag.empty()) continue;
      const std::string place = ModelOfPath(dir + "/" + way + "/" + std::to_string(volume)).Text();
      const bool is_ours = Meet(volume, tag, place);
      is_all_ours &= is_ours;
      found += is_ours ? 1 : 0;
    }
    Conclude(found, is_all_ours, static_cast<int>(count_));
  }

  const ScanTable& table_;
  const std::string top_;
  const std::string media_;
  std::int64_t count_ = 0;
  std::string tag_;
  ScanResult result_;
  std::string* stream_ = &result_.out;
};

}  // namespace

Environment EnvironmentOf(const ScanTable& table) {
  if (!table.is_online) return {};
  return {{"KVL_Online_Installation_Caf_Repositiory", "yes"}};
}

std::string MediaPath(const ScanTable& table, const std::string& top) {
  std::string path = table.is_relative ? "" : top + "/";
  for (std::size_t i = table.levels.size(); i > 0; --i) path += table.levels[i - 1].name + "/";
  return path + table.media_name;
}

std::string OuterPath(const ScanTable& table, const std::string& top) {
  PathModel path = ModelOfPath(MediaPath(table, top));
  for (std::size_t i = 0; i <= FindFirstAmLevel(table).index + 1; ++i) path = path.Parent();
  return path.Text();
}

std::string WayIntoAmVolume(const ScanTable& table, const std::string& top) {
  const PathModel level_1 = ModelOfPath(MediaPath(table, top)).Parent();
  PathModel am_volume = level_1;
  for (std::size_t i = 0; i < FindFirstAmLevel(table).index; ++i) am_volume = am_volume.Parent();
  return ModelOfMakeRelative(am_volume, level_1);
}

ScanResult ModelOfScan(const ScanTable& table, const std::string& top) {
  return ScanModel(table, top).Scan();
}

}  // namespace kvl::test
