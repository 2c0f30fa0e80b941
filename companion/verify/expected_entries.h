// What must lie in a volume's directory: from the manifest, and from the lists of files that it vouches
// for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "companion/seal/digest.h"
#include "companion/seal/file_list.h"
#include "companion/seal/manifest.h"

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

class ExpectedEntries {
 public:
  /// Adds what a volume holds; of several volumes that lie in one directory, to one and the same. False
  /// when list and manifest do not fit each other; then nothing can be expected of either.
  bool Add(const ManifestVolume& volume, std::vector<ListedFile> list);
  /// A plain file of which only what it is matters.
  void AddUncompared(const std::string& name);
  /// To be called when all is added. False when an entry is expected twice.
  bool Sort();

  const std::vector<ExpectedEntry>& All() const { return entries_; }
  /// The place of a path among them all, or their number.
  std::size_t IndexOf(std::string_view path) const;
  /// Nothing unless it is a file that is compared.
  const Digest* DigestAt(std::string_view path) const;
  /// In the compared files, as the manifest says.
  std::uint64_t Bytes() const { return bytes_; }

 private:
  std::vector<ExpectedEntry> entries_;
  std::uint64_t bytes_ = 0;
};

}  // namespace kvl
