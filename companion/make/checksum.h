// The checksum that the system's program cksum gives.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvl {

/// Of bytes that come piece by piece.
class Checksum {
 public:
  void Add(std::string_view bytes);

  /// How many bytes there were.
  std::uint64_t Size() const { return size_; }
  /// The sum of all bytes so far.
  std::uint32_t Sum() const;

 private:
  std::uint32_t sum_ = 0;
  std::uint64_t size_ = 0;
};

}  // namespace kvl
