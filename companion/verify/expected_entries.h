// What must lie in a volume's directory, according to the manifest and the lists of files.
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

  std::string path;  ///< from the volume's directory on
  Kind kind = Kind::kFile;
  bool is_program = false;
  bool is_compared = true;  ///< false for a file that no list names: a list, manifest or signature
  Digest digest = {};       ///< of a file, if `is_compared`
  std::string target = {};  ///< of a link
};

/// Thrown for a flaw that makes it impossible to compare a volume.
class FlawFound : public std::runtime_error {
 public:
  explicit FlawFound(const Flaw& flaw) : std::runtime_error(flaw.path), flaw_(flaw) {}
  const Flaw& Found() const { return flaw_; }

 private:
  Flaw flaw_;
};

/// The entries, one after the other in PathOrder. Reads the lists piece by piece and holds no file
/// open, so there may be any number of lists of any length.
class ExpectedEntries {
 public:
  /// `directory`, the directory of the volumes, must outlive this object.
  explicit ExpectedEntries(const KVLInsIO::OpenDirectory& directory) : directory_(directory) {}
  ExpectedEntries(const ExpectedEntries&) = delete;
  ExpectedEntries& operator=(const ExpectedEntries&) = delete;

  /// Adds the contents of a volume. Several volumes may lie in one directory. `volume` must outlive
  /// this object.
  void Add(std::size_t number, const ManifestVolume& volume);
  /// Adds a plain file whose contents are not compared.
  void AddUncompared(const std::string& name);

  /// Goes to the first entry. May be called again. Begin and Advance throw FlawFound when a list
  /// and the manifest do not fit each other, an entry is expected twice, a list cannot be read, or
  /// a list has another digest than the manifest says. The last one may be known only behind the
  /// last entry.
  void Begin();
  /// Goes to the next entry.
  void Advance();
  /// Returns the entry, and nullptr at the end. It is valid until the next Begin or Advance.
  const ExpectedEntry* Entry() const { return heads_.empty() ? nullptr : &heads_.front().entry; }

  /// Returns the number of bytes in the compared files according to the manifest.
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
  std::vector<Head> heads_;  // a heap with the next entry of each stream
};

}  // namespace kvl
