// Splitting a payload into volumes.
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

/// The limit for volumes, and the room that they need for other things than payload. All in bytes.
struct VolumeRoom {
  std::uint64_t most_bytes = kNoLimit;  ///< of the disc image of a volume
  /// On the first volume only, without what depends on the number of volumes.
  std::uint64_t on_first;
  std::uint64_t in_manifest;             ///< lines of the manifest for other things than payload
  std::set<std::string> undivided = {};  ///< directories of the payload that must lie on one volume
  std::uint64_t way = kLongestWay;       ///< to the names of the payload, see record_room.h
};

/// The payload of a volume: successive entries of a list. The volume also has the directories above
/// them, even those that stand before its first entry in the list.
class PlannedVolume {
 public:
  using Iterator = PayloadList::Iterator;

  PlannedVolume(std::shared_ptr<const PayloadList> list, Iterator begin, Iterator end)
      : list_(std::move(list)), begin_(std::move(begin)), end_(std::move(end)) {}

  const Iterator& begin() const { return begin_; }
  const Iterator& end() const { return end_; }

  void EndAt(const Iterator& end) { end_ = end; }

  std::uint64_t files = 0, bytes = 0;
  std::uint64_t image_bytes = 0;               ///< most bytes of a disc image of the volume
  std::uint64_t in_list = 0, in_manifest = 0;  ///< length of its lines, see record_room.h

 private:
  std::shared_ptr<const PayloadList> list_;
  Iterator begin_, end_;
};

using Volumes = std::vector<PlannedVolume>;

/// Spreads the entries over volumes, in their order. No disc image of a volume takes more than
/// `room.most_bytes`, including its tables, its list and the manifest. The first volume also holds
/// the list of all files and the description of all volumes. Returns at least one volume.
///
/// Throws CannotMake if a file or an undivided directory is too large for a volume, an undivided
/// directory is not in the payload, the limit is too small for the first volume, or there are more
/// than kMostVolumes volumes.
Volumes SplitPayload(PayloadList payload, const VolumeRoom& room);

/// Makes a volume of each of the directories "1", "2", ... in `directory`. The names of its entries
/// begin there. The limit and the sizes are those of SplitPayload.
///
/// Throws CannotMake if `directory` holds anything else, a number is missing or a volume is too
/// large; and what ListPayload and SplitPayload throw.
Volumes PresortedPayload(const KVLInsIO::OpenDirectory& directory, Links links,
                         const VolumeRoom& room);

}  // namespace kvl
