// Whether a media is what was made: every file, directory and link of each of its volumes is compared
// with the lists of files and the manifest that were written with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "companion/seal/manifest.h"
#include "companion/seal/signature.h"
#include "companion/verify/flaw.h"

namespace kvl {

struct VerifyRequest {
  /// Directories of volumes in any order, or those that hold such directories, see FindDiscs.
  std::vector<std::string> directories;
  std::optional<PublicKey> key;  ///< with it, each manifest must be signed
  unsigned jobs = 1;             ///< how many files are read at a time, at least 1

  /// Told what is being read: a volume, and how many bytes of how many have been read of all that were
  /// found. By one thread at a time.
  std::function<void(std::size_t volume, std::uint64_t done, std::uint64_t in_all)> progress =
      [](std::size_t, std::uint64_t, std::uint64_t) {};
};

/// Asks for another volume in the same directory. `numbers` are those that have not been looked at,
/// none when no media is known yet; `why` says why what lies there now was not taken, or is empty.
/// False when there is no other.
using AskForVolume =
    std::function<bool(const std::vector<std::size_t>& numbers, const std::string& why)>;

struct VerifyReport {
  std::string tag;  ///< of the manifest; empty when none could be read
  Layout layout = Layout::kNone;
  std::size_t volumes = 0;          ///< of the media; 0 when no manifest could be read
  std::set<std::size_t> looked_at;  ///< numbers of the volumes of which every file was looked for
  std::uint64_t files = 0;          ///< that were read, of those on lists
  std::uint64_t bytes = 0;          ///< in them
  bool has_key = false;
  std::vector<Flaw> flaws;  ///< volume by volume, in the order of their paths

  /// The numbers of the others.
  std::vector<std::size_t> NotLookedAt() const;
  /// Every volume was looked at, and nothing is wrong.
  bool IsWhole() const { return flaws.empty() && volumes > 0 && NotLookedAt().empty(); }
};

/// Changes nothing, and throws no failure of the system: what cannot be looked at is a flaw. All
/// directories are those of one media. Which one that is, says the first manifest that the key proves
/// genuine, or else the first. Where a directory holds those of volumes, each must be there, unless it
/// is somewhere else among them all.
VerifyReport VerifyMedia(const VerifyRequest& request);

/// The same of volumes that come to the directories one after the other. What is no volume of the
/// media, or has been looked at, is not taken, and does not count.
VerifyReport VerifyOneByOne(const VerifyRequest& request, const AskForVolume& ask);

}  // namespace kvl
