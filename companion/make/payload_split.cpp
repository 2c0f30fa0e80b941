#include "companion/make/payload_split.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>
#include <utility>

#include "companion/make/record_room.h"
#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Room for the marker, its directories, and the beginnings of the payload's own.
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
class Volume {
 public:
  Volume(std::uint64_t most_bytes, std::uint64_t other_bytes)
      : most_bytes_(most_bytes), bytes_(kVolumeFrame + other_bytes) {}

  /// False when the entry does not fit, and then nothing has changed.
  bool Take(const PayloadEntry& entry) {
    const std::vector<std::string> directories = NewDirectoriesFor(entry);
    if (BytesWith(entry, directories) > most_bytes_) return false;
    Add(entry, directories);
    return true;
  }

  /// Takes the entry whether it fits or not.
  void TakeAnyway(const PayloadEntry& entry) { Add(entry, NewDirectoriesFor(entry)); }

  /// What the volume needs on a disc, and what it would need with one more entry.
  std::uint64_t Bytes() const { return bytes_ + OnDisc(list_bytes_); }
  std::uint64_t BytesWith(const PayloadEntry& entry) const {
    return BytesWith(entry, NewDirectoriesFor(entry));
  }

  bool Fits() const { return Bytes() <= most_bytes_; }
  std::vector<PayloadEntry> Entries() && { return std::move(entries_); }

 private:
  static std::uint64_t ContentBytes(const PayloadEntry& entry,
                                    const std::vector<std::string>& new_directories) {
    return new_directories.size() * kDiscBlock + (entry.IsFile() ? OnDisc(entry.size) : 0);
  }

  std::uint64_t BytesWith(const PayloadEntry& entry,
                          const std::vector<std::string>& new_directories) const {
    return bytes_ + ContentBytes(entry, new_directories) + OnDisc(list_bytes_ + ListLength(entry));
  }

  void Add(const PayloadEntry& entry, const std::vector<std::string>& directories) {
    bytes_ += ContentBytes(entry, directories);
    list_bytes_ += ListLength(entry);
    for (const std::string& directory : directories) {
      directories_.insert(directory);
      entries_.push_back({.name = directory, .type = EntryType::kDirectory});
    }
    if (!entry.IsDirectory()) entries_.push_back(entry);
  }

  std::vector<std::string> NewDirectoriesFor(const PayloadEntry& entry) const {
    std::vector<std::string> missing;
    for (std::size_t slash = entry.name.find('/'); slash != std::string::npos;
         slash = entry.name.find('/', slash + 1)) {
      const std::string directory = entry.name.substr(0, slash);
      if (!directories_.contains(directory)) missing.push_back(directory);
    }
    if (entry.IsDirectory() && !directories_.contains(entry.name)) missing.push_back(entry.name);
    return missing;
  }

  std::uint64_t most_bytes_;
  std::uint64_t bytes_;
  std::uint64_t list_bytes_ = kLinesOfMarkers;
  std::set<std::string> directories_;
  std::vector<PayloadEntry> entries_;
};

[[noreturn]] void RefuseAsTooLarge(const std::string& what, std::uint64_t bytes) {
  throw CannotMake(what + " (needs " + std::to_string(bytes) + " bytes)");
}

/// The first volume as it is before any payload is on it.
Volume FirstVolume(const VolumeRoom& room, std::uint64_t manifest, std::uint64_t list_of_all) {
  Volume volume(room.most_bytes, manifest + room.on_first + OnDisc(list_of_all));
  if (!volume.Fits()) {
    RefuseAsTooLarge("the volume size is too small for what the first volume holds besides payload",
                     volume.Bytes());
  }
  return volume;
}

/// What the manifest takes on each of these volumes.
std::uint64_t ManifestFor(const Volumes& volumes, const VolumeRoom& room) {
  std::uint64_t length = ManifestFrame(volumes.size()) + room.in_manifest;
  for (const std::vector<PayloadEntry>& volume : volumes) length += ManifestLength(volume);
  return OnDisc(length);
}

/// With so many bytes for the manifest on each volume.
Volumes Spread(const std::vector<PayloadEntry>& payload, const VolumeRoom& room,
               std::uint64_t manifest) {
  Volume volume = FirstVolume(room, manifest, ListLength(payload));
  Volumes volumes;
  for (std::size_t i = 0; i < payload.size(); ++i) {
    const PayloadEntry& entry = payload[i];
    const bool comes_with_its_files =
        i + 1 < payload.size() && payload[i + 1].name.starts_with(entry.name + "/");
    if (comes_with_its_files || volume.Take(entry)) continue;
    volumes.push_back(std::move(volume).Entries());
    volume = Volume(room.most_bytes, manifest);
    if (!volume.Take(entry)) {
      RefuseAsTooLarge("larger than a volume: " + entry.name, volume.BytesWith(entry));
    }
    if (volumes.size() == kMostVolumes) RefuseSoManyVolumes();
  }
  volumes.push_back(std::move(volume).Entries());
  return volumes;
}

}  // namespace

std::uint64_t OnDisc(std::uint64_t size) {
  return (size + kDiscBlock - 1) / kDiscBlock * kDiscBlock;
}

Volumes SplitPayload(const std::vector<PayloadEntry>& payload, const VolumeRoom& room) {
  // More volumes make a larger manifest, which lies on each of them.
  for (std::uint64_t manifest = ManifestFor({payload}, room);;) {
    Volumes volumes = Spread(payload, room, manifest);
    const std::uint64_t needed = ManifestFor(volumes, room);
    if (needed <= manifest) return volumes;
    manifest = needed;
  }
}

Volumes PresortedPayload(const OpenDirectory& directory, Links links, const VolumeRoom& room) {
  const std::size_t count = CountPresorted(directory);
  if (count > kMostVolumes) RefuseSoManyVolumes();
  Volumes volumes;
  std::uint64_t list_of_all = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    volumes.push_back(ListPayload(directory.Directory(std::to_string(i)), links));
    list_of_all += ListLength(volumes.back());
  }
  const std::uint64_t manifest = ManifestFor(volumes, room);
  for (std::size_t i = 1; i <= count; ++i) {
    Volume volume =
        i == 1 ? FirstVolume(room, manifest, list_of_all) : Volume(room.most_bytes, manifest);
    bool fits = true;
    for (const PayloadEntry& entry : volumes[i - 1]) {
      if (volume.Take(entry)) continue;
      fits = false;
      volume.TakeAnyway(entry);
    }
    if (!fits) {
      RefuseAsTooLarge(
          "more than a volume holds: " + PathBelow(directory.Path(), std::to_string(i)),
          volume.Bytes());
    }
  }
  return volumes;
}

}  // namespace kvl
