#include "companion/verify/disc.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include "companion/names/lost_and_found.h"
#include "companion/names/path_below.h"
#include "companion/seal/manifest.h"
#include "environment/media_names.h"

namespace kvl {

using KVLInsIO::OpenDirectory;

std::string Disc::Path() const {
  return number ? PathBelow(directory, std::to_string(*number)) : directory;
}

OpenDirectory Disc::Open() const {
  OpenDirectory open(directory);
  return number ? open.Directory(std::to_string(*number)) : std::move(open);
}

namespace {

/// Returns whether the entry is a disc image of a volume, which lies beside the volume's directory.
bool IsImage(const OpenDirectory& directory, const std::string& name) {
  return VolumeIn(name, names::kImageExtension) && S_ISREG(directory.Look(name).mode);
}

}  // namespace

std::vector<Disc> FindDiscs(const std::string& directory, std::vector<Flaw>& flaws) {
  const OpenDirectory open(directory);
  const std::vector<std::string> names = open.Names();
  const auto is_volume = [](const std::string& name) { return VolumeIn(name, "").has_value(); };
  if (Holds(names, names::kManifest) || std::none_of(names.begin(), names.end(), is_volume)) {
    return {{directory}};
  }
  std::vector<Disc> discs;
  for (const std::string& name : names) {
    const std::string path = PathBelow(directory, name);
    if (IsLostAndFound(open, name) || IsImage(open, name)) continue;
    if (!is_volume(name)) {
      flaws.push_back({FlawKind::kNotListed, path});
    } else if (!S_ISDIR(open.Look(name).mode)) {
      flaws.push_back({FlawKind::kWrongKind, path, "it is not a directory"});
    } else {
      discs.push_back({directory, VolumeIn(name, "")});
    }
  }
  const auto by_number = [](const Disc& one, const Disc& other) {
    return one.number < other.number;
  };
  std::sort(discs.begin(), discs.end(), by_number);
  return discs;
}

std::optional<std::size_t> VolumeIn(std::string_view name, std::string_view extension) {
  if (!name.ends_with(extension)) return {};
  name.remove_suffix(extension.size());
  std::size_t number = 0;
  const auto result = std::from_chars(name.data(), name.data() + name.size(), number);
  if (result.ec != std::errc() || std::to_string(number) != name) return {};
  if (number == 0 || number > kMostVolumes) return {};
  return number;
}

std::string ListName(std::size_t volume) {
  return std::to_string(volume) + names::kListExtension;
}

bool Holds(const std::vector<std::string>& names, std::string_view name) {
  return std::binary_search(names.begin(), names.end(), name);
}

}  // namespace kvl
