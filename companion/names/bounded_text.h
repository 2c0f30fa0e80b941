// Texts of a disc, which are read whole, but never without a bound.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "insio/open_directory.h"

namespace kvl {

/// A text that is longer than it may be: "longer than <number> bytes".
class TooLong : public std::runtime_error {
 public:
  explicit TooLong(std::uint64_t most_bytes)
      : std::runtime_error("longer than " + std::to_string(most_bytes) + " bytes") {}
};

/// All of an open file. Throws TooLong, and as Read does.
std::string WholeText(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes);

}  // namespace kvl
