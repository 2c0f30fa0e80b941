#include "companion/make/media_room.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "companion/make/media_plan.h"
#include "companion/make/planned_files.h"
#include "companion/make/record_room.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "environment/media_names.h"
#include "media/marker.h"

namespace kvl {
namespace {

/// More than any generated text takes, except the lists, the manifest and the descriptions of
/// volumes.
constexpr std::uint64_t kText = 4096;

class RoomCounter {
 public:
  RoomCounter(Layout layout, std::uint64_t block) : layout_(layout), block_(block) {}

  // Paths begin at the place where the launcher finds the volume.
  void AddDirectory(std::size_t volume, const std::string& path) { AddWay(In(volume, path)); }
  void AddFile(std::size_t volume, const std::string& path, std::uint64_t size) {
    const std::string full = In(volume, path);
    AddWay(Place(full).directory);
    Add((size + block_ - 1) / block_ * block_);
  }
  void AddImage(std::uint64_t size) { Add((size + block_ - 1) / block_ * block_); }
  const Room& Sum() const { return room_; }

 private:
  std::string In(std::size_t volume, const std::string& path) const {
    const std::string place = PlaceOfVolume(layout_, volume);
    return place.empty() ? path : PathBelow(place, path);
  }
  /// Adds a directory and those above it up to the media's own, each only once.
  void AddWay(const std::string& path) {
    for (std::string way = path; directories_.insert(way).second; way = Place(way).directory) {
      Add(block_);
    }
  }
  void Add(std::uint64_t bytes) {
    ++room_.entries;
    room_.bytes += std::min(bytes, UINT64_MAX - room_.bytes);
  }

  const Layout layout_;
  const std::uint64_t block_;
  std::set<std::string> directories_;
  Room room_;
};

/// Adds the directories, and the files that make generates for each volume.
void AddVolumes(const MediaPlan& plan, RoomCounter& room) {
  std::uint64_t manifest =
      ManifestFrame(plan.volumes.size()) + ManifestLength(plan.inst_entries, kLongestWay);
  for (const PlannedVolume& volume : plan.volumes) manifest += volume.in_manifest;
  for (std::size_t i = 1; i <= plan.volumes.size(); ++i) {
    const PlannedVolume& volume = plan.volumes[i - 1];
    const std::string number = std::to_string(i);
    room.AddDirectory(i, PathBelow(names::kPayload, number));
    for (const PayloadEntry& entry : volume) {
      if (entry.IsDirectory()) room.AddDirectory(i, PathOfPayload(i, entry));
    }
    room.AddFile(i, number + names::kListExtension, kText + volume.in_list);
    const std::string marker = MarkerName(static_cast<std::int64_t>(i));
    room.AddFile(i, marker, kText);
    if (plan.layout == Layout::kAm) room.AddFile(i, marker, kText);  // of the outer volume
    if (i != 1 && plan.layout == Layout::kFlat) continue;
    room.AddFile(i, names::kManifest, manifest);
    if (plan.is_signed) room.AddFile(i, names::kSignature, kText);
  }
}

void AddTextsOfTheFirst(const MediaPlan& plan, RoomCounter& room) {
  std::uint64_t all_lists = 0;
  for (const PlannedVolume& volume : plan.volumes) all_lists += volume.in_list;
  room.AddFile(1, names::kMediaDb, all_lists);
  room.AddFile(1, names::kTableOfContents, kText + ContentsLength(plan.volumes.size()));
  room.AddDirectory(1, PathBelow(names::kInst, names::kCommon));
  for (const PayloadEntry& entry : plan.inst_entries) {
    if (entry.IsDirectory()) room.AddDirectory(1, PathOfInst(entry));
  }
  for (const std::string& name :
       {PathBelow(names::kInst, names::kVolumesFile), std::string(names::kMediaXml),
        std::string(names::kStartGui), std::string(names::kStartTui)}) {
    room.AddFile(1, name, kText);
  }
  const bool has_own = std::any_of(plan.inst_entries.begin(), plan.inst_entries.end(), IsReadMe);
  if (!has_own) room.AddFile(1, names::kReadMe, kText);
}

std::string NearestThatIsThere(const std::string& directory) {
  std::filesystem::path path = directory;
  while (path.has_relative_path() && !StateAt(path).IsThere()) path = path.parent_path();
  return path;
}

[[noreturn]] void Refuse(std::uint64_t needed, const std::string& of_what, std::uint64_t free,
                         const std::string& directory) {
  throw CannotMake("the media needs " + std::to_string(needed) + of_what + std::to_string(free) +
                   " are free: " + directory +
                   "; make room there, or name a directory on another file system");
}

}  // namespace

Room RoomFor(const MediaPlan& plan, std::uint64_t block) {
  RoomCounter room(plan.layout, block);
  AddVolumes(plan, room);
  AddTextsOfTheFirst(plan, room);
  ForEachCopy(plan, [&](std::size_t volume, const std::string& path, std::uint64_t size) {
    room.AddFile(volume, path, size);
  });
  if (!plan.images.empty()) {
    for (const PlannedVolume& volume : plan.volumes) room.AddImage(volume.image_bytes);
  }
  return room.Sum();
}

Room CheckRoom(const MediaPlan& plan) {
  // A network file system may name the size of its packets as that of a block.
  constexpr std::uint64_t kMostOfABlock = 4096;
  struct statvfs status;
  const bool is_told =
      ::statvfs(NearestThatIsThere(plan.directory).c_str(), &status) == 0 && status.f_blocks != 0;
  if (!is_told) return RoomFor(plan, kMostOfABlock);
  const std::uint64_t block = status.f_frsize;
  const Room needed = RoomFor(plan, std::min(block, kMostOfABlock));
  const std::uint64_t free = std::min<std::uint64_t>(status.f_bavail, UINT64_MAX / block) * block;
  if (needed.bytes > free) Refuse(needed.bytes, " bytes, and ", free, plan.directory);
  // A file system without a table of files says 0.
  if (status.f_files != 0 && needed.entries > status.f_favail) {
    Refuse(needed.entries, " files and directories, and ", status.f_favail, plan.directory);
  }
  return needed;
}

}  // namespace kvl
