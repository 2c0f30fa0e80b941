// The manifest of a disc, as far as it can be relied on.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "companion/seal/signature.h"
#include "companion/verify/disc.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

/// Reads a file of a disc with `read`, or adds a flaw and gives false: `names` are the entries of
/// the directory, sorted. A link is not followed. What `read` throws is a flaw, too, TooLong one of
/// the kind `too_long`.
bool ReadOnDisc(const KVLInsIO::OpenDirectory& directory, const std::vector<std::string>& names,
                const std::string& name, FlawKind too_long, std::vector<Flaw>& flaws,
                const std::function<void(const KVLInsIO::OpenFile&)>& read);

/// Its whole text, or nothing and a flaw.
std::optional<std::string> TextOnDisc(const KVLInsIO::OpenDirectory& directory,
                                      const std::vector<std::string>& names,
                                      const std::string& name, std::uint64_t most_bytes,
                                      FlawKind too_long, std::vector<Flaw>& flaws);

struct SealedDisc {
  Disc disc;
  std::string manifest = {};  ///< its text; empty when there is none that can be read
  bool is_genuine = false;    ///< proven by the key
  /// How much speaks for a volume, by its number: its list, then its marker, then the name of the
  /// directory.
  std::map<std::size_t, int> signs = {};
};

/// Reads manifest and signature. Without a key, a signature only has to look like one. The manifest is
/// one that ParseManifest takes.
SealedDisc ReadSeal(const Disc& disc, const std::optional<PublicKey>& key,
                    std::vector<Flaw>& flaws);

}  // namespace kvl
