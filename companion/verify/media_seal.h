// Signing a media that was made.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvl {

struct SealedMedia {
  std::string tag;
  std::size_t signatures;  ///< how many directories of volumes have one now
};

/// Signs the manifest, which must be the same in all directories of volumes, see FindDiscs, and
/// writes the signature there. Nothing is overwritten; where the same signature lies already, all
/// is well. It has the time of the manifest. Nothing else is read. Throws std::runtime_error
/// "cannot be sealed: <path>: <reason>" before anything is written when a manifest is not there, is
/// none, or is another, or another signature is there; as SignWithMinisign and OpenDirectory do.
SealedMedia SealMedia(const std::vector<std::string>& directories, const std::string& key);

}  // namespace kvl
