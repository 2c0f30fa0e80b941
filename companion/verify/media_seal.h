// Signing a media that make has written before.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvl {

struct SealedMedia {
  std::string tag;
  std::size_t signatures;  ///< number of volume directories that have one now
};

/// Signs the manifest, and writes the signature into all directories of volumes, see FindDiscs.
/// Reads only the manifests and signatures. The signature gets the time of the manifest. Overwrites
/// nothing, and leaves a signature alone that is already the right one.
///
/// Throws std::runtime_error before it writes anything if a manifest is missing, cannot be used or
/// differs from the others, or if another signature exists; and what SignWithMinisign and
/// OpenDirectory throw.
SealedMedia SealMedia(const std::vector<std::string>& directories, const std::string& key);

}  // namespace kvl
