#include "companion/make/payload_split.h"

#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "companion/make/payload_walk.h"
#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Room for the directories of a volume, its own included, above that of its payload, and for its markers:
/// four and two in the AM layout, less in any other.
constexpr std::uint64_t kVolumeFrame = 6 * kDiscBlock;
/// In the list of a volume.
constexpr std::uint64_t kLinesOfMarkers = 256;

/// A number above 0 as it is written without need: no sign, no 0 in front.
bool IsVolumeNumber(const std::string& name) {
  return name.front() != '0' && name.find_first_not_of("0123456789") == std::string::npos;
}

/// The numbers for which `directory` holds a directory: 1, 2, ... up to the result.
std::size_t CountPresorted(const OpenDirectory& directory) {
  const std::vector<std::string> names = directory.Names();
  for (const std::string& name : names) {
    if (!IsVolumeNumber(name) || !S_ISDIR(directory.Look(name).mode)) {
      throw CannotMake("a presorted payload holds directories 1, 2, ... and nothing else: " +
                       PathBelow(directory.Path(), name));
    }
  }
  std::size_t count = 0;
  while (std::binary_search(names.begin(), names.end(), std::to_string(count + 1))) ++count;
  if (count == 0 || count < names.size()) {
    throw CannotMake("a presorted payload without a directory " + std::to_string(count + 1) + ": " +
                     directory.Path());
  }
  return count;
}

[[noreturn]] void RefuseSoManyVolumes() {
  throw CannotMake("more than " + std::to_string(kMostVolumes) + " volumes would be needed");
}

/// One volume being filled.
class Filling {
 public:
  /// From the entry `begin` of the list on.
  Filling(std::shared_ptr<const PayloadList> list, const PayloadList::Iterator& begin,
          const VolumeRoom& room, std::uint64_t other_bytes)
      : volume_(std::move(list), begin, begin),
        most_bytes_(room.most_bytes),
        way_(room.way),
        other_bytes_(kVolumeFrame + other_bytes) {}

  /// False when the entry does not fit, and then nothing has changed.
  bool Take(const PayloadEntry& entry) {
    if (BytesWith(entry) > most_bytes_) return false;
    TakeAnyway(entry);
    return true;
  }

  /// Whether it fits or not.
  void TakeAnyway(const PayloadEntry& entry) {
    AddTo(room_, entry);
    ForEachNewDirectory(entry, [&](const PayloadEntry& directory) {
      volume_.in_manifest += ManifestLength(directory, way_);
    });
    last_ = entry.name;
    if (entry.IsDirectory()) return;
    volume_.in_list += ListLength(entry, way_);
    volume_.in_manifest += ManifestLength(entry, way_);
    volume_.bytes += entry.size;
    if (entry.IsFile()) ++volume_.files;
  }

  /// What the volume needs as an image, and what it would need with one more entry.
  std::uint64_t Bytes() const { return BytesIn(room_, 0); }
  std::uint64_t BytesWith(const PayloadEntry& entry) const {
    ImageRoom room = room_;
    AddTo(room, entry);
    return BytesIn(room, ListLength(entry, way_));
  }

  bool Fits() const { return Bytes() <= most_bytes_; }
  /// With all entries before `end`.
  PlannedVolume Finished(const PayloadList::Iterator& end) && {
    volume_.image_bytes = Bytes();
    volume_.EndAt(end);
    return std::move(volume_);
  }

 private:
  std::uint64_t BytesIn(const ImageRoom& room, std::uint64_t more_in_list) const {
    return room.Bytes() + other_bytes_ + OnDisc(kLinesOfMarkers + volume_.in_list + more_in_list);
  }

  void AddTo(ImageRoom& room, const PayloadEntry& entry) const {
    ForEachNewDirectory(entry, [&room](const PayloadEntry& directory) { room.Add(directory); });
    if (!entry.IsDirectory()) room.Add(entry);
  }

  /// In the order of PathOrder, the last entry lies in every directory that is known and comes again.
  void ForEachNewDirectory(const PayloadEntry& entry,
                           const std::function<void(const PayloadEntry&)>& see) const {
    const std::string path = entry.IsDirectory() ? entry.name + "/" : entry.name;
    const std::string last = last_ + "/";
    for (std::size_t slash = path.find('/'); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
      if (last.starts_with(std::string_view(path).substr(0, slash + 1))) continue;
      see({.name = path.substr(0, slash), .type = EntryType::kDirectory});
    }
  }

  PlannedVolume volume_;
  std::uint64_t most_bytes_;
  std::uint64_t way_;
  std::uint64_t other_bytes_;
  ImageRoom room_;    // of the payload
  std::string last_;  // the path of what was taken last
};

[[noreturn]] void RefuseAsTooLarge(const std::string& what, std::uint64_t bytes) {
  throw CannotMake(what + " (needs " + std::to_string(bytes) + " bytes)");
}

/// The first volume must hold this besides payload.
void CheckFirst(const Filling& volume) {
  if (volume.Fits()) return;
  RefuseAsTooLarge("the volume size is too small for what the first volume holds besides payload",
                   volume.Bytes());
}

/// What depends on how the payload is spread: the manifest, on each volume, and the description of all
/// volumes, on the first one.
struct Common {
  std::uint64_t manifest, description;
};

Common CommonOf(std::uint64_t volumes, std::uint64_t in_manifest) {
  return {OnDisc(ManifestFrame(volumes) + in_manifest), OnDisc(ContentsLength(volumes))};
}

Common CommonOf(const Volumes& volumes, const VolumeRoom& room) {
  std::uint64_t in_manifest = room.in_manifest;
  for (const PlannedVolume& volume : volumes) in_manifest += volume.in_manifest;
  return CommonOf(volumes.size(), in_manifest);
}

bool LiesIn(const PayloadEntry& entry, const PayloadEntry& directory) {
  return entry.name.starts_with(directory.name + "/");
}

/// False when these entries do not all fit, and then nothing has changed.
bool Take(Filling& volume, const PayloadList::Iterator& first, const PayloadList::Iterator& end) {
  auto next = first;
  if (++next == end) return volume.Take(*first);
  Filling filled = volume;
  for (next = first; next != end; ++next) filled.TakeAnyway(*next);
  if (!filled.Fits()) return false;
  volume = std::move(filled);
  return true;
}

void CheckAreDirectories(const std::set<std::string>& undivided, const PayloadList& payload) {
  std::set<std::string> unknown = undivided;
  for (const PayloadEntry& entry : payload) {
    if (entry.IsDirectory()) unknown.erase(entry.name);
  }
  if (unknown.empty()) return;
  throw CannotMake("--keep-together: no directory of the payload: " + *unknown.begin());
}

/// With so much of what depends on it, and for the list of all files on the first volume.
Volumes Spread(const std::shared_ptr<const PayloadList>& payload, const VolumeRoom& room,
               const Common& common, std::uint64_t list_of_all) {
  Volumes volumes;
  auto behind_the_last = payload->begin();
  const auto begin_volume = [&](std::uint64_t other_bytes) {
    return Filling(payload, behind_the_last, room, common.manifest + other_bytes);
  };
  Filling volume = begin_volume(room.on_first + common.description + OnDisc(list_of_all));
  CheckFirst(volume);
  for (auto next = payload->begin(); next != payload->end();) {
    const auto first = next;
    const PayloadEntry& entry = *first;
    ++next;
    const bool is_undivided = room.undivided.contains(entry.name);
    const bool comes_with_its_files = next != payload->end() && LiesIn(*next, entry);
    if (comes_with_its_files && !is_undivided) continue;
    while (is_undivided && next != payload->end() && LiesIn(*next, entry)) ++next;
    if (!Take(volume, first, next)) {
      volumes.push_back(std::move(volume).Finished(behind_the_last));
      volume = begin_volume(0);
      if (!Take(volume, first, next)) {
        for (auto each = first; each != next; ++each) volume.TakeAnyway(*each);
        RefuseAsTooLarge("larger than a volume: " + entry.name, volume.Bytes());
      }
      if (volumes.size() == kMostVolumes) RefuseSoManyVolumes();
    }
    behind_the_last = next;
  }
  volumes.push_back(std::move(volume).Finished(payload->end()));
  return volumes;
}

}  // namespace

Volumes SplitPayload(PayloadList payload, const VolumeRoom& room) {
  const auto list = std::make_shared<const PayloadList>(std::move(payload));
  CheckAreDirectories(room.undivided, *list);
  const std::uint64_t list_of_all = ListOfAllLength(*list, room.way);
  // More volumes make a larger manifest, which lies on each of them.
  for (Common common = CommonOf(1, room.in_manifest + ManifestLength(*list, room.way));;) {
    Volumes volumes = Spread(list, room, common, list_of_all);
    const Common needed = CommonOf(volumes, room);
    if (needed.manifest <= common.manifest && needed.description <= common.description) {
      return volumes;
    }
    common = {std::max(common.manifest, needed.manifest),
              std::max(common.description, needed.description)};
  }
}

Volumes PresortedPayload(const OpenDirectory& directory, Links links, const VolumeRoom& room) {
  const std::size_t count = CountPresorted(directory);
  if (count > kMostVolumes) RefuseSoManyVolumes();
  std::vector<std::shared_ptr<const PayloadList>> lists;
  std::uint64_t list_of_all = 0;
  std::uint64_t in_manifest = room.in_manifest;
  for (std::size_t i = 1; i <= count; ++i) {
    lists.push_back(std::make_shared<const PayloadList>(
        ListPayload(directory.Directory(std::to_string(i)), links)));
    list_of_all += ListOfAllLength(*lists.back(), room.way);
    in_manifest += ManifestLength(*lists.back(), room.way);
  }
  const Common common = CommonOf(count, in_manifest);
  Volumes volumes;
  for (std::size_t i = 1; i <= count; ++i) {
    const std::shared_ptr<const PayloadList>& list = lists[i - 1];
    const std::uint64_t on_first =
        i == 1 ? room.on_first + common.description + OnDisc(list_of_all) : 0;
    Filling volume(list, list->begin(), room, common.manifest + on_first);
    if (i == 1) CheckFirst(volume);
    for (const PayloadEntry& entry : *list) volume.TakeAnyway(entry);
    if (!volume.Fits()) {
      RefuseAsTooLarge(
          "more than a volume holds: " + PathBelow(directory.Path(), std::to_string(i)),
          volume.Bytes());
    }
    volumes.push_back(std::move(volume).Finished(list->end()));
  }
  return volumes;
}

}  // namespace kvl
