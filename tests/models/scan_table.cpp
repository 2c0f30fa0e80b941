#include "tests/models/scan_table.h"

#include "tests/models/models.h"

namespace kvl::test {
namespace {

constexpr char kOwnTag[] = "SET-A";
constexpr char kOwnAmTag[] = "AM-A";

/// The unusual choices have the highest numbers.
constexpr std::size_t kChoices = 32;

MarkerFile DecodeMarker(ByteSource& bytes, const std::string& own_tag) {
  const std::string line = "MTBDIR=" + own_tag;
  const std::vector<MarkerFile> odd = {
      {MarkerFile::kFile, "# a comment\n\n " + line + "\n" + line + "\nMTBDIR=x"},
      {MarkerFile::kFile, line + "\r\n"},
      {MarkerFile::kLinkToFile, line},
      {MarkerFile::kFile, line + " "},
      {MarkerFile::kFile, "MTBDIR=SET-B\n"},
      {MarkerFile::kFile, "MTBDIR=\n" + line},
      {MarkerFile::kDanglingLink},
      {MarkerFile::kPipe},
      {MarkerFile::kDirectory},
      {MarkerFile::kFile, "mtbdir=" + own_tag}};
  const std::size_t choice = bytes.Below(kChoices), first_odd = kChoices - 2 - odd.size();
  if (choice == kChoices - 2) return {MarkerFile::kFile, "MTBDIR=" + bytes.Text()};
  if (choice == kChoices - 1) return {MarkerFile::kFile, bytes.Text()};
  if (choice >= first_odd) return odd[choice - first_odd];
  return {MarkerFile::kFile, line + "\n"};
}

/// Returns "volumes.txt" of a media of `count` volumes.
std::optional<MarkerFile> DecodeVolumesFile(ByteSource& bytes, std::int64_t count) {
  using Texts = std::vector<std::string>;
  static const Texts kBefore = {"", "", "", " ", "+", "\t\v", "0"};
  static const Texts kBehind = {"\n", "", "\r\n", " \n", " volumes\n7\n"};
  static const Texts kNoNumbers = {"", "\n", "x", "-", "\r\n"};
  static const Texts kNoCounts = {"1",          "0",           "-3",
                                  "2147483648", "-2147483649", "99999999999999999999999999"};
  const std::string text = std::to_string(count);
  switch (bytes.Below(kChoices)) {
    case 24:
      return std::nullopt;
    case 25:
      return MarkerFile{MarkerFile::kDirectory};
    case 26:
      return MarkerFile{MarkerFile::kPipe};
    case 27:
      return MarkerFile{MarkerFile::kDanglingLink};
    case 28:
      return MarkerFile{MarkerFile::kFile, bytes.OneOf(kNoNumbers)};
    case 29:
      return MarkerFile{MarkerFile::kFile, bytes.OneOf(kNoCounts)};
    case 30:
      return MarkerFile{MarkerFile::kFile, bytes.Text()};
    case 31:
      return MarkerFile{MarkerFile::kLinkToFile, text};
    default:
      return MarkerFile{MarkerFile::kFile, bytes.OneOf(kBefore) + text + bytes.OneOf(kBehind)};
  }
}

/// Returns all, few or none of a set's markers; of a large set only some.
MarkerFiles DecodeMarkers(ByteSource& bytes, std::int64_t count, const std::string& tag) {
  MarkerFiles files;
  enum { kNone, kSome, kAll };
  const int plan = bytes.OneOf<int>({kNone, kNone, kSome, kAll});
  if (plan == kNone) return files;
  constexpr std::int64_t kFew = 5;
  std::vector<std::int64_t> numbers;
  for (std::int64_t i = 2; i <= std::min(count, kFew); ++i) numbers.push_back(i);
  if (count > kFew) {
    for (const std::int64_t i : {std::int64_t{99}, count - 1, count, count + 1}) {
      numbers.push_back(i);
    }
    // Sometimes all of a set that is large enough for the scan to list the directory.
    if (count < 110 && bytes.Chance(64)) {
      for (std::int64_t i = 2; i <= count; ++i) files[i] = {MarkerFile::kFile, "MTBDIR=" + tag};
    }
  }
  for (const std::int64_t number : numbers) {
    if (plan == kAll || bytes.Chance(100)) files[number] = DecodeMarker(bytes, tag);
  }
  return files;
}

MediaLevel DecodeLevel(ByteSource& bytes, bool is_relative) {
  static const std::vector<std::string> kMarkers = {"1.txt",  "5.txt",  "05.txt", "1a.txt",
                                                    " 7.txt", "+7.txt", "99.txt", "1\\.txt"};
  static const std::vector<std::string> kNoMarkers = {"0.txt",   "-1.txt", "a1.txt", "100.txt",
                                                      "001.txt", "5.TXT",  "5.text"};
  static const std::vector<std::string> kNames = {"x", "sets", "a b", "m",
                                                  ".", "\n",   "'q'", "\"q\""};
  MediaLevel level;
  // A relative path must not begin and end with quotes, which normalising would drop.
  level.name = kNames[bytes.Below(kNames.size() - (is_relative ? 2 : 0))];
  if (level.name == ".") level.name = "..d";
  if (bytes.Chance(110)) {
    level.marker_name = bytes.OneOf(kMarkers);
    level.marker = DecodeMarker(bytes, kOwnAmTag);
    const auto number = ModelOfNumber(level.marker_name).value;
    // Must not be the number of a further AM volume, which would be the same directory.
    if (number && bytes.Chance(128)) level.name = std::to_string(*number);
  }
  if (bytes.Chance(64)) level.other_files.push_back(bytes.OneOf(kNoMarkers));
  return level;
}

}  // namespace

FirstAmLevel FindFirstAmLevel(const ScanTable& table) {
  for (std::size_t i = 0; i < table.levels.size(); ++i) {
    const MediaLevel& level = table.levels[i];
    if (level.marker_name.empty() || level.marker.kind == MarkerFile::kDirectory) continue;
    const std::string number = level.marker_name.substr(0, level.marker_name.size() - 4);
    const std::optional<std::int32_t> value = ModelOfNumber(number).value;
    if (value && *value >= 1) return {value, i};
  }
  return {};
}

ScanTable DecodeScanTable(ByteSource& bytes) {
  ScanTable table;
  table.is_relative = bytes.Chance(64);
  table.is_online = bytes.Chance(8);
  table.is_software_management = bytes.Chance(8);
  table.media_name = bytes.OneOf<std::string>({"1", "1", "media", "2", "a b"});
  // The number of volumes for which the rest of the table is made.
  const auto count = bytes.OneOf<std::int64_t>({2, 2, 3, 3, 4, 5, 101, 102, 150, 2147483647});
  table.volumes_file = DecodeVolumesFile(bytes, count);

  table.flat = DecodeMarkers(bytes, count, kOwnTag);
  if (!bytes.Chance(8)) table.flat[1] = DecodeMarker(bytes, kOwnTag);
  table.beside = DecodeMarkers(bytes, count, kOwnTag);
  if (table.media_name == "2") table.beside.erase(2);  // this is the media itself
  if (bytes.Chance(64)) {
    static const std::vector<std::string> kOthers = {"02.txt", "2.TXT", "+2.txt", "2.txt.bak", "2"};
    table.other_files.push_back(bytes.OneOf(kOthers));
  }

  const std::size_t levels = bytes.OneOf<std::size_t>({1, 2, 2, 3, 0});
  for (std::size_t i = 0; i < levels; ++i) {
    table.levels.push_back(DecodeLevel(bytes, table.is_relative));
  }
  if (!table.is_relative) {
    table.levels.push_back({"top", "9.txt", {MarkerFile::kFile, "MTBDIR=AM-TOP\n"}});
  }

  const FirstAmLevel first = FindFirstAmLevel(table);
  const bool is_first_the_last = first.index + 1 == table.levels.size();
  if (!first.number || (table.is_relative && is_first_the_last)) return table;
  const std::string& am_tag = first.index + 1 == table.levels.size() ? "AM-TOP" : kOwnAmTag;
  const MarkerFiles markers = DecodeMarkers(bytes, count, am_tag);
  const MarkerFiles volumes = DecodeMarkers(bytes, count, kOwnTag);
  const std::int64_t ahead = *first.number - 1;
  for (const auto& [i, marker] : markers) table.am[i + ahead].marker = marker;
  // The path from an AM volume of a relative media leads to directories beside the media itself.
  if (table.is_relative) return table;
  for (const auto& [i, marker] : volumes) table.am[i + ahead].volume = marker;
  return table;
}

}  // namespace kvl::test
