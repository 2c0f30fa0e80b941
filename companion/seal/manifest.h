// The manifest of a media, "media.manifest". It says what belongs to the media, and holds what the
// lists of files cannot. All volumes have the same manifest.
//
//   kvl-media manifest 1
//   tag TAG
//   layout LAYOUT
//   volumes NUMBER
//   volume 1 FILES BYTES DIGEST
//   directory PATH
//   program PATH
//   link PATH<tab>TARGET
//   volume 2 ...
//   end
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "companion/seal/digest.h"
#include "media/volume_scan.h"

namespace kvl {

/// In bytes. Plans count on this limit.
inline constexpr std::size_t kLongestTag = 256;
inline constexpr std::size_t kMostVolumes = 999;

struct ManifestLink {
  std::string path;
  std::string target;  ///< see LeadsInside

  friend bool operator==(const ManifestLink&, const ManifestLink&) = default;
};

/// Each vector is in PathOrder, and its paths are as IsListedPath requires. No path comes twice.
/// The parent of each path is in `directories`, unless it is the volume's own directory.
struct ManifestVolume {
  std::uint64_t files = 0;  ///< in the volume's list
  std::uint64_t bytes = 0;  ///< of all these files
  Digest list;
  std::vector<std::string> directories;  ///< all except the volume's own
  std::vector<std::string> programs;     ///< regular files with mode 755; all others have 644
  std::vector<ManifestLink> links;

  friend bool operator==(const ManifestVolume&, const ManifestVolume&) = default;
};

struct Manifest {
  std::string tag;  ///< 1 to kLongestTag bytes, without control characters of ASCII
  Layout layout = Layout::kNone;
  std::vector<ManifestVolume> volumes;  ///< up to kMostVolumes; exactly one for kSingle only

  friend bool operator==(const Manifest&, const Manifest&) = default;
};

/// Returns the text of the file "media.manifest".
std::string TextOf(const Manifest& manifest);

/// Returns the manifest for which TextOf returns this text. Throws RefusedText for any other text.
Manifest ParseManifest(std::string_view text);

}  // namespace kvl
