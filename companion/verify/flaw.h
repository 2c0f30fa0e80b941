// What can be wrong with a media that was whole when make wrote it.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

enum class FlawKind {
  kMissing,
  kDamaged,      ///< a file has other contents
  kNotListed,    ///< an entry does not belong to the media
  kWrongKind,    ///< an entry is not the file, directory or link that it should be
  kWrongMode,    ///< an entry has other permissions, see ModeCheck
  kWrongLink,    ///< a link has another target
  kBadManifest,  ///< the manifest cannot be used, so it is unknown what belongs to the media
  kWrongList,    ///< a list cannot be used, so it is unknown which files belong to the volume
  kOtherTag,     ///< a marker does not have the tag of the media
  kOtherMedia,   ///< the volume belongs to another media, or to another release of this one
  kOtherVolume,  ///< the directory has the number of another volume
  kNotGenuine,   ///< the signature is missing, or does not fit the key or the manifest
  kUnreadable,   ///< an entry could not be read, so its state is unknown
};

/// Returns the code of a flaw: short, stable, for programs.
constexpr std::string_view CodeOf(FlawKind kind) {
  constexpr std::string_view kCodes[] = {"missing",    "damaged",     "not-listed",   "wrong-kind",
                                         "wrong-mode", "wrong-link",  "bad-manifest", "wrong-list",
                                         "other-tag",  "other-media", "other-volume", "not-genuine",
                                         "unreadable"};
  return kCodes[static_cast<std::size_t>(kind)];
}

struct Flaw {
  FlawKind kind;
  std::string path;
  std::string detail = {};  ///< may be empty
};

}  // namespace kvl
