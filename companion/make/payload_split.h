// Splitting a payload into volumes: what lies where, decided before anything is written.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "companion/seal/manifest.h"
#include "insio/open_directory.h"

namespace kvl {

/// A call that makes no sense, or a payload that cannot be put on a media; the text says why.
class CannotMake : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct PayloadEntry {
  std::string name;  ///< its path in the payload, without "/" in front
  bool is_directory = false;
  std::uint64_t size = 0;
  KVLInsIO::EntryState state = {};  ///< as it was when it was listed
};

/// Everything below the directory, sorted by name, a directory before what lies in it.
/// Throws CannotMake for a link, a pipe, a socket, a device, a name with a line break or too long for
/// a disc, and for what cannot be read; what OpenDirectory throws for what cannot be looked at.
std::vector<PayloadEntry> ListPayload(const KVLInsIO::OpenDirectory& directory);

/// A file takes whole blocks of a disc, and a directory one.
inline constexpr std::uint64_t kDiscBlock = 2048;
std::uint64_t OnDisc(std::uint64_t size);

inline constexpr std::uint64_t kNoLimit = UINT64_MAX;

/// Spreads the entries over volumes in their order, so that none takes more than `most_bytes` on a
/// disc; the first one also holds `first_bytes` of other things and the list of all files. Each
/// volume gets the directories that its files lie in. There is at least one volume.
/// Throws CannotMake when a file is too large for any volume, the limit too small for the first one,
/// and for more than kMostVolumes volumes.
std::vector<std::vector<PayloadEntry>> SplitPayload(const std::vector<PayloadEntry>& payload,
                                                    std::uint64_t most_bytes,
                                                    std::uint64_t first_bytes);

/// The entries of the directories "1", "2", ... of `directory`, each of them a volume with names of its
/// own, with the same sizes as above.
/// Throws CannotMake when anything else lies there or a number is missing, when a volume holds too
/// much, and as ListPayload and SplitPayload do.
std::vector<std::vector<PayloadEntry>> PresortedPayload(const KVLInsIO::OpenDirectory& directory,
                                                        std::uint64_t most_bytes,
                                                        std::uint64_t first_bytes);

}  // namespace kvl
