#include "companion/make/payload_split.h"

#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "companion/make/payload_walk.h"
#include "companion/make/record_room.h"
#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Room for the directories of a volume, its own included, down to that of the payload, and for its
/// markers: five and two in the AM layout, less in any other.
constexpr std::uint64_t kVolumeFrame = 7 * kDiscBlock;
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
          std::uint64_t most_bytes, std::uint64_t other_bytes)
      : volume_(std::move(list), begin, begin),
        most_bytes_(most_bytes),
        bytes_(kVolumeFrame + other_bytes) {}

  /// False when the entry does not fit, and then nothing has changed.
  bool Take(const PayloadEntry& entry) {
    if (BytesWith(entry) > most_bytes_) return false;
    TakeAnyway(entry);
    return true;
  }

  /// Whether it fits or not.
  void TakeAnyway(const PayloadEntry& entry) {
    ForEachNewDirectory(entry, [&](const PayloadEntry& directory) {
      bytes_ += kDiscBlock;
      volume_.in_manifest += ManifestLength(directory);
    });
    last_ = entry.name;
    if (entry.IsDirectory()) return;
    bytes_ += BytesOf(entry);
    volume_.in_list += ListLength(entry);
    volume_.in_manifest += ManifestLength(entry);
    volume_.bytes += entry.size;
    if (entry.IsFile()) ++volume_.files;
  }

  /// What the volume needs on a disc, and what it would need with one more entry.
  std::uint64_t Bytes() const { return bytes_ + OnDisc(kLinesOfMarkers + volume_.in_list); }
  std::uint64_t BytesWith(const PayloadEntry& entry) const {
    std::uint64_t bytes = bytes_ + BytesOf(entry);
    ForEachNewDirectory(entry, [&](const PayloadEntry&) { bytes += kDiscBlock; });
    return bytes + OnDisc(kLinesOfMarkers + volume_.in_list + ListLength(entry));
  }

  bool Fits() const { return Bytes() <= most_bytes_; }
  /// With all entries before `end`.
  PlannedVolume Finished(const PayloadList::Iterator& end) && {
    volume_.EndAt(end);
    return std::move(volume_);
  }

 private:
  static std::uint64_t BytesOf(const PayloadEntry& entry) {
    return entry.IsFile() ? OnDisc(entry.size) : 0;
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
  std::uint64_t bytes_;
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

/// What the manifest takes on each of these volumes.
std::uint64_t ManifestFor(const Volumes& volumes, const VolumeRoom& room) {
  std::uint64_t length = ManifestFrame(volumes.size()) + room.in_manifest;
  for (const PlannedVolume& volume : volumes) length += volume.in_manifest;
  return OnDisc(length);
}

/// With so many bytes for the manifest on each volume, and for the list of all files on the first.
Volumes Spread(const std::shared_ptr<const PayloadList>& payload, const VolumeRoom& room,
               std::uint64_t manifest, std::uint64_t list_of_all) {
  Volumes volumes;
  auto behind_the_last = payload->begin();
  const auto begin_volume = [&](std::uint64_t other_bytes) {
    return Filling(payload, behind_the_last, room.most_bytes, manifest + other_bytes);
  };
  Filling volume = begin_volume(room.on_first + OnDisc(list_of_all));
  CheckFirst(volume);
  for (auto next = payload->begin(); next != payload->end();) {
    const PayloadEntry entry = *next;
    ++next;
    const bool comes_with_its_files =
        next != payload->end() && next->name.starts_with(entry.name + "/");
    if (comes_with_its_files) continue;
    if (!volume.Take(entry)) {
      volumes.push_back(std::move(volume).Finished(behind_the_last));
      volume = begin_volume(0);
      if (!volume.Take(entry)) {
        RefuseAsTooLarge("larger than a volume: " + entry.name, volume.BytesWith(entry));
      }
      if (volumes.size() == kMostVolumes) RefuseSoManyVolumes();
    }
    behind_the_last = next;
  }
  volumes.push_back(std::move(volume).Finished(payload->end()));
  return volumes;
}

}  // namespace

std::uint64_t OnDisc(std::uint64_t size) {
  return (size + kDiscBlock - 1) / kDiscBlock * kDiscBlock;
}

Volumes SplitPayload(PayloadList payload, const VolumeRoom& room) {
  const auto list = std::make_shared<const PayloadList>(std::move(payload));
  const std::uint64_t list_of_all = ListLength(*list);
  // More volumes make a larger manifest, which lies on each of them.
  for (std::uint64_t manifest = OnDisc(ManifestFrame(1) + room.in_manifest + ManifestLength(*list));
       ;) {
    Volumes volumes = Spread(list, room, manifest, list_of_all);
    const std::uint64_t needed = ManifestFor(volumes, room);
    if (needed <= manifest) return volumes;
    manifest = needed;
  }
}

Volumes PresortedPayload(const OpenDirectory& directory, Links links, const VolumeRoom& room) {
  const std::size_t count = CountPresorted(directory);
  if (count > kMostVolumes) RefuseSoManyVolumes();
  std::vector<std::shared_ptr<const PayloadList>> lists;
  std::uint64_t list_of_all = 0;
  std::uint64_t manifest = ManifestFrame(count) + room.in_manifest;
  for (std::size_t i = 1; i <= count; ++i) {
    lists.push_back(std::make_shared<const PayloadList>(
        ListPayload(directory.Directory(std::to_string(i)), links)));
    list_of_all += ListLength(*lists.back());
    manifest += ManifestLength(*lists.back());
  }
  Volumes volumes;
  for (std::size_t i = 1; i <= count; ++i) {
    const std::shared_ptr<const PayloadList>& list = lists[i - 1];
    const std::uint64_t on_first = i == 1 ? room.on_first + OnDisc(list_of_all) : 0;
    Filling volume(list, list->begin(), room.most_bytes, OnDisc(manifest) + on_first);
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
