// The plan of a media: all that is decided before anything is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/make/disc_image.h"
#include "companion/make/media_room.h"
#include "companion/make/media_systems.h"
#include "companion/make/payload_split.h"
#include "insio/open_directory.h"
#include "media/volume_scan.h"

namespace kvl {

/// Disc images of the volumes: none, beside the directories of the volumes, or in their place.
enum class Images { kNone, kBeside, kAlone };

struct MediaMakeRequest {
  std::string payload;  ///< a directory
  /// Its directories "1", "2", ... hold what goes onto each volume, and nothing is beside them.
  bool is_presorted = false;
  std::string directory;         ///< where to; empty or missing
  std::optional<Layout> layout;  ///< without it, kSingle when one volume is enough, else kSibling
  std::uint64_t volume_size = kNoLimit;
  std::vector<std::string> undivided =
      {};  ///< directories of the payload, each to lie on one volume
  std::string tag;
  std::vector<SystemRequest> systems;  ///< at least one
  /// A directory whose contents go into the media's "inst", too; may be empty. It holds nothing that
  /// is put there anyway: the two programs and "volumes.txt". Its "ReadMe_UNIX.txt" goes beside "inst".
  std::string inst;
  /// Of the payload and of what goes into "inst".
  Links links = Links::kKept;
  std::size_t jobs = 1;  ///< so many files are copied beside each other
  Images images = Images::kNone;
  /// A secret key of minisign(1) to sign the manifest with; empty for no signature.
  std::string key;
  /// Of all that is generated, in seconds; without it, that of the payload's newest file.
  std::optional<std::int64_t> time;
};

struct MediaPlan {
  std::string directory;  ///< where to, absolute
  bool was_there;         ///< that directory
  Layout layout;
  std::vector<PlannedSystem> systems;
  KVLInsIO::OpenDirectory payload;
  std::optional<KVLInsIO::OpenDirectory> inst;  ///< what goes into "inst", too
  PayloadList inst_entries;                     ///< all below it
  Volumes volumes;                              ///< of the payload, at least one
  std::uint64_t bytes_in_all;                   ///< of the payload
  bool is_signed = false;
  std::int64_t time;  ///< see MediaMakeRequest; the installer's for a payload without files
  std::vector<DiscImage> images;  ///< of the volumes, when they are wanted
  Room room;                      ///< that it takes where it is written
};

/// Throws CannotMake when anything about the request makes no sense, cannot be read, or does not fit.
MediaPlan PlanMedia(const MediaMakeRequest& request);

/// What lies in a directory that a media is to be written into, without the "lost+found" that a file
/// system begins with.
std::vector<std::string> NamesInTarget(const KVLInsIO::OpenDirectory& directory);
/// Throws CannotMake when there is anything.
void CheckIsEmpty(const KVLInsIO::OpenDirectory& directory);
[[noreturn]] void RefuseAsNotEmpty(const KVLInsIO::OpenDirectory& directory);

}  // namespace kvl
