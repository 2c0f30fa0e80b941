// Splitting a payload into volumes: what lies where, decided before anything is written.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/make/image_room.h"
#include "companion/make/payload_list.h"
#include "companion/make/record_room.h"
#include "companion/names/open_tree.h"
#include "companion/seal/manifest.h"
#include "insio/open_directory.h"

namespace kvl {

inline constexpr std::uint64_t kNoLimit = UINT64_MAX;

/// What a volume is to hold besides payload.
struct VolumeRoom {
  std::uint64_t most_bytes = kNoLimit;
  std::uint64_t
      on_first;  ///< bytes of what lies on the first volume only, whatever the number of volumes
  std::uint64_t in_manifest;  ///< length of the lines in the manifest for what is no payload
  std::set<std::string> undivided = {};  ///< directories of the payload that lie on one volume each
  std::uint64_t way = kLongestWay;       ///< to the names of the payload, see record_room.h
};

/// The payload of a volume: some entries of a list, one behind the other. The directories that they lie
/// in are there, too, also those that stand before the first of them in the list.
class PlannedVolume {
 public:
  using Iterator = PayloadList::Iterator;

  PlannedVolume(std::shared_ptr<const PayloadList> list, Iterator begin, Iterator end)
      : list_(std::move(list)), begin_(std::move(begin)), end_(std::move(end)) {}

  const Iterator& begin() const { return begin_; }
  const Iterator& end() const { return end_; }

  void EndAt(const Iterator& end) { end_ = end; }

  std::uint64_t files = 0, bytes = 0;
  std::uint64_t image_bytes = 0;               ///< at most, of an image of the volume
  std::uint64_t in_list = 0, in_manifest = 0;  ///< length of its lines there, see record_room.h

 private:
  std::shared_ptr<const PayloadList> list_;
  Iterator begin_, end_;
};

using Volumes = std::vector<PlannedVolume>;

/// Spreads the entries over volumes in their order, so that the image of none takes more than its most
/// bytes, its tables, its list and the manifest included; the first one also holds the list of all files
/// and the description of all volumes. There is at least one volume.
/// Throws CannotMake when a file, or a directory that is not to be divided, is too large for any volume, when
/// there is no such directory, when the limit is too small for the first volume, and for more than
/// kMostVolumes volumes.
Volumes SplitPayload(PayloadList payload, const VolumeRoom& room);

/// The entries of the directories "1", "2", ... of `directory`, each of them a volume with names of its
/// own, with the same sizes as above.
/// Throws CannotMake when anything else lies there or a number is missing, when a volume holds too
/// much, and as ListPayload and SplitPayload do.
Volumes PresortedPayload(const KVLInsIO::OpenDirectory& directory, Links links,
                         const VolumeRoom& room);

}  // namespace kvl
