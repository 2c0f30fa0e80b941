// What must lie in a volume's directory: from the manifest, and from the lists of files that it vouches
// for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "companion/seal/digest.h"
#include "companion/seal/manifest.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

struct ExpectedEntry {
  enum class Kind { kFile, kDirectory, kLink };

  std::string path;  ///< from the volume's directory
  Kind kind = Kind::kFile;
  bool is_program = false;
  bool is_compared = true;  ///< false of a file that no list names: a list itself, the manifest
  Digest digest = {};       ///< of a file that is compared
  std::string target = {};  ///< of a link
};

/// What keeps a volume from being compared.
class FlawFound : public std::runtime_error {
 public:
  explicit FlawFound(const Flaw& flaw) : std::runtime_error(flaw.path), flaw_(flaw) {}
  const Flaw& Found() const { return flaw_; }

 private:
  Flaw flaw_;
};

/// One entry after the other in the order of PathOrder. The lists are read piece by piece, and no
/// file is held open, so that there may be any number of them, however long.
class ExpectedEntries {
 public:
  /// The volume's directory, which must outlive it.
  explicit ExpectedEntries(const KVLInsIO::OpenDirectory& directory) : directory_(directory) {}
  ExpectedEntries(const ExpectedEntries&) = delete;
  ExpectedEntries& operator=(const ExpectedEntries&) = delete;

  /// Adds what a volume holds; several volumes may lie in one directory. `volume` must outlive it.
  void Add(std::size_t number, const ManifestVolume& volume);
  /// A plain file of which only what it is matters.
  void AddUncompared(const std::string& name);

  /// Goes to the first entry, as often as wanted. Both throw FlawFound when list and manifest do
  /// not fit each other, an entry is expected twice, or a list cannot be read or has another
  /// digest, which may show behind the last entry only.
  void Begin();
  void Advance();
  /// Nothing at the end. It is there until one of them is called.
  const ExpectedEntry* Entry() const { return heads_.empty() ? nullptr : &heads_.front().entry; }

  /// In the compared files, as the manifest says.
  std::uint64_t Bytes() const { return bytes_; }

 private:
  using Stream = std::function<std::optional<ExpectedEntry>()>;
  struct Head {
    ExpectedEntry entry;
    std::size_t stream;
  };
  struct Later;

  Stream InOrder();
  void TakeFrom(std::size_t stream);

  const KVLInsIO::OpenDirectory& directory_;
  std::vector<ExpectedEntry> in_manifest_;
  std::vector<std::pair<std::size_t, const ManifestVolume*>> volumes_;
  std::uint64_t bytes_ = 0;
  std::vector<Stream> streams_;
  std::vector<Head> heads_;  // a heap: the next entry of each stream that has one
};

}  // namespace kvl
