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

/// Room for the directories above that of the payload, including the volume's own, and for the
/// markers. In the AM layout these are four directories and two markers, in other layouts fewer.
constexpr std::uint64_t kVolumeFrame = 6 * kDiscBlock;
/// Room for the lines of markers in the list of a volume, in bytes.
constexpr std::uint64_t kLinesOfMarkers = 256;

/// Returns whether the name is a number above 0 without a sign or a leading 0.
bool IsVolumeNumber(const std::string& name) {
  return name.front() != '0' && name.find_first_not_of("0123456789") == std::string::npos;
}

/// Returns the number of directories 1, 2, ... that `directory` consists of.
std::size_t CountPresorted(const OpenDirectory& directory) {
  const std::vector<std::string> names = directory.Names();
  for (const std::string& name : names) {
    if (!IsVolumeNumber(name) || !S_ISDIR(directory.Look(name).mode)) {
      throw CannotMake("PAYLOAD holds something other than directories 1, 2, ...: " +
                       PathBelow(directory.Path(), name) +
                       "; move it into one of them, or leave --presorted out");
    }
  }
  std::size_t count = 0;
  while (std::binary_search(names.begin(), names.end(), std::to_string(count + 1))) ++count;
  if (count == 0 || count < names.size()) {
    throw CannotMake("PAYLOAD has no directory " + std::to_string(count + 1) + ": " +
                     directory.Path() + "; make it, or leave --presorted out");
  }
  return count;
}

[[noreturn]] void RefuseSoManyVolumes(const std::string& remedy) {
  throw CannotMake("the payload needs more than " + std::to_string(kMostVolumes) + " volumes; " +
                   remedy);
}

/// A volume that is being filled.
class Filling {
 public:
  /// The volume begins at the entry `begin` of the list.
  Filling(std::shared_ptr<const PayloadList> list, const PayloadList::Iterator& begin,
          const VolumeRoom& room, std::uint64_t other_bytes)
      : volume_(std::move(list), begin, begin),
        most_bytes_(room.most_bytes),
        way_(room.way),
        other_bytes_(kVolumeFrame + other_bytes) {}

  /// Adds the entry and returns true if it fits. Otherwise changes nothing and returns false.
  bool Take(const PayloadEntry& entry) {
    if (BytesWith(entry) > most_bytes_) return false;
    TakeAnyway(entry);
    return true;
  }

  /// Adds the entry, even if it does not fit.
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

  /// Returns the bytes of a disc image of the volume.
  std::uint64_t Bytes() const { return BytesIn(room_, 0); }
  /// Returns the bytes of a disc image of the volume with one more entry.
  std::uint64_t BytesWith(const PayloadEntry& entry) const {
    ImageRoom room = room_;
    AddTo(room, entry);
    return BytesIn(room, ListLength(entry, way_));
  }

  bool Fits() const { return Bytes() <= most_bytes_; }
  /// Returns the volume with all entries before `end`.
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

  /// Calls `see` with the directories of the path that are new. In PathOrder, a directory that is
  /// not new contains the last entry or is that entry.
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
  std::string last_;  // path of the last entry
};

/// Throws for a part of the payload that needs so many bytes on a volume of its own.
[[noreturn]] void RefuseAsTooLarge(const std::string& path, std::uint64_t bytes,
                                   const std::string& remedy) {
  throw CannotMake("too large for one volume: " + path + " (needs " + std::to_string(bytes) +
                   " bytes); give a larger --volume-size, or " + remedy);
}

/// Throws if the first volume has no room for what it holds besides payload.
void CheckFirst(const Filling& volume) {
  if (volume.Fits()) return;
  throw CannotMake(
      "--volume-size is too small for what the first volume holds besides payload: "
      "it needs " +
      std::to_string(volume.Bytes()) + " bytes; give a larger --volume-size");
}

/// Bytes of the files that depend on how the payload is spread: the manifest on each volume, and
/// the description of all volumes on the first one.
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

/// Adds these entries and returns true if they all fit. Otherwise changes nothing and returns
/// false.
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
  throw CannotMake("--keep-together is not a directory of PAYLOAD: " + *unknown.begin() +
                   "; give its path in PAYLOAD");
}

/// Spreads the payload over volumes, with so much room for `common`, and for the list of all files
/// on the first volume.
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
        RefuseAsTooLarge(entry.name, volume.Bytes(),
                         is_undivided ? "leave its --keep-together out" : "split the file");
      }
      if (volumes.size() == kMostVolumes) RefuseSoManyVolumes("give a larger --volume-size");
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
  if (count > kMostVolumes) RefuseSoManyVolumes("join some of the directories in PAYLOAD");
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
      RefuseAsTooLarge(PathBelow(directory.Path(), std::to_string(i)), volume.Bytes(),
                       "move files to another directory");
    }
    volumes.push_back(std::move(volume).Finished(list->end()));
  }
  return volumes;
}

}  // namespace kvl
