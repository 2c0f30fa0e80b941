// The markers of the media that make writes.
#pragma once

#include <string>

namespace kvl {

/// Returns the whole text of a volume's marker. verify knows markers by their digests, so a change
/// of this text needs another version of the manifest.
inline std::string MarkerText(const std::string& tag) {
  return "Volume marker\nMTBDIR=" + tag + "\n";
}

/// Returns the tag in the marker of an AM volume, which contains a volume of the media.
inline std::string AmTag(const std::string& tag) {
  return tag + "-AM";
}

}  // namespace kvl
