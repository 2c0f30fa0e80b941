// The manifest of a media, "media.manifest", the same on each of its volumes: what belongs to the
// media, and what the lists of its files cannot hold.
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

/// A longer tag takes room that no plan has, and, from a length on, no system hands it on.
inline constexpr std::size_t kLongestTag = 256;
inline constexpr std::size_t kMostVolumes = 999;

struct ManifestLink {
  std::string path;
  std::string target;  ///< what the link holds, see LeadsInside

  friend bool operator==(const ManifestLink&, const ManifestLink&) = default;
};

/// Each of the vectors is in the order of PathOrder, of paths as IsListedPath wants them. No path
/// stands there twice, and the directory that one lies in is one of `directories`, unless it is the
/// volume's.
struct ManifestVolume {
  std::uint64_t files = 0;  ///< in its list
  std::uint64_t bytes = 0;  ///< of them all
  Digest list;
  std::vector<std::string> directories;  ///< all but the volume's own
  std::vector<std::string> programs;     ///< regular files with mode 755; others have 644
  std::vector<ManifestLink> links;

  friend bool operator==(const ManifestVolume&, const ManifestVolume&) = default;
};

struct Manifest {
  std::string tag;  ///< 1 to kLongestTag bytes, no control characters of ASCII among them
  Layout layout = Layout::kNone;
  std::vector<ManifestVolume> volumes;  ///< up to kMostVolumes; one if and only if kSingle

  friend bool operator==(const Manifest&, const Manifest&) = default;
};

std::string TextOf(const Manifest& manifest);

/// The manifest for which TextOf gives this text. Throws RefusedText for any other text.
Manifest ParseManifest(std::string_view text);

}  // namespace kvl
