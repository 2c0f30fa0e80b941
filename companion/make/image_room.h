// How large the image of a disc becomes: ISO 9660 at level 3 with Rock Ridge, as xorriso(1) lays it out.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "companion/make/payload_list.h"

namespace kvl {

/// What files and directories take is a whole number of these.
inline constexpr std::uint64_t kDiscBlock = 2048;
std::uint64_t OnDisc(std::uint64_t size);

/// Adds up a directory, which is there from the beginning, and what lies below it. Never less than an image
/// takes, whatever stands for names there: where one depends on others that it may clash with, the longest
/// one counts, and blocks of records are as badly filled as they can be. Deep directories stay where they
/// are. A copy costs what the way down to the last entry does.
class ImageRoom {
 public:
  ImageRoom();

  /// In the order of PathOrder; each directory comes before what lies in it.
  void Add(const PayloadEntry& entry);

  /// What an image with nothing else in it takes, in bytes, without the blocks of up to four directories
  /// above this one.
  std::uint64_t Bytes() const;
  /// How much more an image takes that has this in it, too, below a directory of its own.
  std::uint64_t BytesInAnother() const;

 private:
  /// Records that lie one behind the other in blocks, none across the end of one.
  class Records {
   public:
    void Add(std::uint64_t length, std::uint64_t count);
    /// `link` bytes at the end of each block may lead on to the next one.
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

  std::vector<Directory> open_;  // from the first one down to that of the last entry
  std::uint64_t closed_ = 0;     // blocks of all others
  std::uint64_t path_table_ = 0;
  std::uint64_t data_ = 0;  // blocks of files
};

}  // namespace kvl
