// What the markers of a media say that has a manifest.
#pragma once

#include <string>

namespace kvl {

/// The whole text of a volume's marker. A change to it needs another version of the manifest: the
/// markers are known by their digests.
inline std::string MarkerText(const std::string& tag) {
  return "Volume marker\nMTBDIR=" + tag + "\n";
}

/// The tag in the marker of an AM volume, of which the media's volume is a part.
inline std::string AmTag(const std::string& tag) {
  return tag + "-AM";
}

}  // namespace kvl
