// Reads whole texts from a disc, but only up to a bound.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "insio/open_directory.h"

namespace kvl {

/// Is thrown for a text that is too long; says "longer than <number> bytes".
class TooLong : public std::runtime_error {
 public:
  explicit TooLong(std::uint64_t most_bytes)
      : std::runtime_error("longer than " + std::to_string(most_bytes) + " bytes") {}
};

/// Returns all of an open file. Throws TooLong if it has more than `most_bytes`, and what Read
/// throws.
std::string WholeText(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes);

}  // namespace kvl
