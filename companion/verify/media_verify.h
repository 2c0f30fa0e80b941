// Verifying a media: compares every file, directory and link of each volume with the lists of files
// and the manifest that make wrote.
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
  /// Directories of volumes in any order, or directories that hold those, see FindDiscs.
  std::vector<std::string> directories;
  std::optional<PublicKey> key;  ///< if set, it must have signed each manifest
  unsigned jobs = 1;             ///< how many files are read at a time, at least 1

  /// Called from one thread at a time with the volume that is being read, the number of bytes read
  /// so far, and the number of bytes in all volumes found.
  std::function<void(std::size_t volume, std::uint64_t done, std::uint64_t in_all)> progress =
      [](std::size_t, std::uint64_t, std::uint64_t) {};
};

/// Asks for another volume in the same directory. `numbers` are the volumes not looked at yet;
/// empty when no media is known yet. `why` says why the present volume was not accepted, or is
/// empty. Returns false when there is no other volume.
using AskForVolume =
    std::function<bool(const std::vector<std::size_t>& numbers, const std::string& why)>;

struct VerifyReport {
  std::string tag;  ///< of the manifest; empty when no manifest could be read
  Layout layout = Layout::kNone;
  std::size_t volumes = 0;          ///< of the media; 0 when no manifest could be read
  std::set<std::size_t> looked_at;  ///< volumes in which verify has looked for every file
  std::uint64_t files = 0;          ///< number of files on lists that were read
  std::uint64_t bytes = 0;          ///< read from them
  bool has_key = false;
  std::vector<Flaw> flaws;  ///< volume by volume, in the order of their paths

  /// Returns the numbers of the volumes that are not in `looked_at`.
  std::vector<std::size_t> NotLookedAt() const;
  /// Returns whether every volume was looked at and nothing is wrong.
  bool IsWhole() const { return flaws.empty() && volumes > 0 && NotLookedAt().empty(); }
};

/// Verifies the media. Changes nothing. A failure of the system is a flaw, not an exception.
/// Expects all directories to belong to one media: that of the first manifest that the key proves
/// genuine, or else that of the first manifest. When a directory holds those of volumes, reports
/// each volume as missing that is in none of the directories.
VerifyReport VerifyMedia(const VerifyRequest& request);

/// Does the same with volumes that come into the directories one after the other. Ignores what is
/// not a volume of the media, and a volume that has been looked at already.
VerifyReport VerifyOneByOne(const VerifyRequest& request, const AskForVolume& ask);

}  // namespace kvl
