// Computing the size of a disc image: ISO 9660 at level 3 with Rock Ridge, as xorriso(1) lays it
// out.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "companion/make/payload_list.h"

namespace kvl {

/// The size of a block, in bytes. Files and directories take whole blocks.
inline constexpr std::uint64_t kDiscBlock = 2048;
/// Returns the size rounded up to whole blocks.
std::uint64_t OnDisc(std::uint64_t size);

/// Adds up the room for a directory, which counts from the beginning, and for everything below it.
/// The result is never less than an image takes: ISO 9660 identifiers that depend on other names
/// count with their greatest length, and blocks of records count as filled as badly as possible.
/// Deep directories are not moved. Copying this object costs time in proportion to the depth of the
/// last entry.
class ImageRoom {
 public:
  ImageRoom();

  /// Entries must come in PathOrder, each directory before its contents.
  void Add(const PayloadEntry& entry);

  /// Returns the bytes of an image that holds nothing else. Up to four directories may lie above
  /// this one on the image; their blocks are not included.
  std::uint64_t Bytes() const;
  /// Returns by how many bytes an image grows when this lies on it, too, below a directory of its
  /// own.
  std::uint64_t BytesInAnother() const;

 private:
  /// Records that follow each other in blocks. No record crosses the end of a block.
  class Records {
   public:
    void Add(std::uint64_t length, std::uint64_t count);
    /// Returns the number of blocks if each of them may end with `link` bytes that lead to the next
    /// one.
    std::uint64_t Blocks(std::uint64_t link) const;

   private:
    std::uint64_t bytes_ = 0, longest_ = 0;
  };
  struct Directory {
    Records records, continuation;
    std::uint64_t Blocks() const;
  };

  void Enter(std::uint64_t length_of_identifier);
  std::uint64_t BlocksOfDirectories() const;

  std::vector<Directory> open_;   // from the first directory down to that of the last entry
  std::uint64_t closed_ = 0;      // blocks of all other directories
  std::uint64_t path_table_ = 0;  // bytes
  std::uint64_t data_ = 0;        // blocks of files
};

}  // namespace kvl
