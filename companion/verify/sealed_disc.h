// Reading the manifest and the signature of a disc.
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

/// Reads a file of a disc with `read`. Returns false and adds a flaw if that fails. `names` are the
/// sorted entries of the directory. Does not follow a link. An exception of `read` makes a flaw,
/// too: TooLong one of the kind `too_long`, any other kUnreadable.
bool ReadOnDisc(const KVLInsIO::OpenDirectory& directory, const std::vector<std::string>& names,
                const std::string& name, FlawKind too_long, std::vector<Flaw>& flaws,
                const std::function<void(const KVLInsIO::OpenFile&)>& read);

/// Returns the whole text of a file. Returns nothing and adds a flaw if that fails, as ReadOnDisc
/// does.
std::optional<std::string> TextOnDisc(const KVLInsIO::OpenDirectory& directory,
                                      const std::vector<std::string>& names,
                                      const std::string& name, std::uint64_t most_bytes,
                                      FlawKind too_long, std::vector<Flaw>& flaws);

struct SealedDisc {
  Disc disc;
  std::string manifest = {};  ///< the text; empty when it cannot be used
  bool is_genuine = false;    ///< the key proves it
  /// For the number of a volume, how strongly the disc looks like that volume. The volume's list
  /// weighs more than its marker, and the marker more than the name of the directory.
  std::map<std::size_t, int> signs = {};
};

/// Reads manifest and signature, and adds flaws. ParseManifest accepts the manifest that it
/// returns. Without a key, checks only the format of the signature.
SealedDisc ReadSeal(const Disc& disc, const std::optional<PublicKey>& key,
                    std::vector<Flaw>& flaws);

}  // namespace kvl
