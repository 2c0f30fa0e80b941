// What a media lacks that was whole when it was made.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

enum class FlawKind {
  kMissing,
  kDamaged,      ///< a file with other contents
  kNotListed,    ///< it does not belong to the media
  kWrongKind,    ///< a file, a directory or a link in the place of another one of these
  kWrongMode,    ///< other permissions, see ModeCheck
  kWrongLink,    ///< it leads elsewhere
  kBadManifest,  ///< nothing says what belongs to the media
  kWrongList,    ///< nothing says which files belong to the volume
  kOtherTag,     ///< the volume says that it belongs to another media
  kOtherMedia,   ///< the volume belongs to another media, or to another release of it
  kOtherVolume,
  kNotGenuine,  ///< the signature does not fit
  kUnreadable,  ///< it could not be looked at, so that nothing is known of it
};

/// Short, stable, for programs.
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
