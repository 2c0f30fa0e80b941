// The checksum that the system's program cksum gives.
#pragma once

#include <cstdint>
#include <string>

namespace kvl {

struct Checksum {
  std::uint32_t sum = 0;
  std::uint64_t size = 0;
};

/// Of a file's contents. Throws KVLInsExceptionErrno "Cannot read " + path.
Checksum ChecksumOf(const std::string& path);

}  // namespace kvl
