// The manifest of a disc, as far as it can be relied on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/seal/signature.h"
#include "companion/verify/disc.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// A text of a disc, or nothing and a flaw: `names` are the entries of the directory, sorted. A link is
/// not followed. One that is too long gets a flaw of the kind `too_long`.
std::optional<std::string> TextOnDisc(const KVLInsIO::OpenDirectory& directory,
                                      const std::vector<std::string>& names,
                                      const std::string& name, std::uint64_t most_bytes,
                                      FlawKind too_long, std::vector<Flaw>& flaws);

struct SealedDisc {
  Disc disc;
  std::string manifest;     ///< its text; empty when there is none that can be read
  bool is_genuine = false;  ///< proven by the key
};

/// Reads manifest and signature. Without a key, a signature only has to look like one. The manifest is
/// one that ParseManifest takes.
SealedDisc ReadSeal(const Disc& disc, const std::optional<PublicKey>& key,
                    std::vector<Flaw>& flaws);

}  // namespace kvl
