// Planning a media: everything that is decided before make writes anything.
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

/// Whether make writes disc images: no, beside the directories of the volumes, or instead of them.
enum class Images { kNone, kBeside, kAlone };

struct MediaMakeRequest {
  std::string payload;  ///< a directory
  /// The payload consists of directories "1", "2", ..., each with the files for one volume.
  bool is_presorted = false;
  std::string directory;         ///< to write into; empty or missing
  std::optional<Layout> layout;  ///< without it, kSingle when one volume is enough, else kSibling
  std::uint64_t volume_size = kNoLimit;
  std::vector<std::string> undivided =
      {};  ///< directories of the payload, each of which must lie on one volume
  std::string tag;
  std::vector<SystemRequest> systems;  ///< at least one
  /// A directory whose contents also go into the media's "inst"; may be empty. It must not hold
  /// what make puts there itself: the programs and "volumes.txt". Its "ReadMe_UNIX.txt" goes beside
  /// "inst".
  std::string inst;
  /// Treatment of links in the payload and in `inst`.
  Links links = Links::kKept;
  std::size_t jobs = 1;  ///< how many files are copied at the same time
  Images images = Images::kNone;
  /// A file with a secret key of minisign(1) that signs the manifest; empty for no signature.
  std::string key;
  /// The time of everything that make generates, in seconds; if not set, that of the payload's
  /// newest file.
  std::optional<std::int64_t> time;
};

struct MediaPlan {
  std::string directory;  ///< to write into; absolute
  bool was_there;         ///< whether the directory exists
  Layout layout;
  std::vector<PlannedSystem> systems;
  KVLInsIO::OpenDirectory payload;
  std::optional<KVLInsIO::OpenDirectory> inst;  ///< see MediaMakeRequest
  PayloadList inst_entries;                     ///< everything below `inst`
  Volumes volumes;                              ///< of the payload, at least one
  std::uint64_t bytes_in_all;                   ///< of the payload
  bool is_signed = false;
  std::int64_t time;  ///< see MediaMakeRequest; the installer's for a payload without files
  std::vector<DiscImage> images;  ///< one for each volume, or none
  Room room;                      ///< on the file system of `directory`
};

/// Plans a media. Throws CannotMake if the request is not valid, something cannot be read, or
/// something does not fit.
MediaPlan PlanMedia(const MediaMakeRequest& request);

/// Returns the names in a directory that a media is to be written into, except the "lost+found" of
/// a new file system.
std::vector<std::string> NamesInTarget(const KVLInsIO::OpenDirectory& directory);
/// Throws CannotMake if there are such names.
void CheckIsEmpty(const KVLInsIO::OpenDirectory& directory);
[[noreturn]] void RefuseAsNotEmpty(const KVLInsIO::OpenDirectory& directory);

}  // namespace kvl
