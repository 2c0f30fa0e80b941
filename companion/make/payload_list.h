// What is to be put on a media, as it lies in a directory.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "insio/open_directory.h"

namespace kvl {

/// A call that makes no sense, or a payload that cannot be put on a media; the text says why.
class CannotMake : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct PayloadEntry {
  std::string name;  ///< its path in the payload, without "/" in front
  bool is_directory = false;
  std::uint64_t size = 0;
  KVLInsIO::EntryState state = {};  ///< as it was when it was listed
};

/// Everything below the directory, sorted by name, a directory before what lies in it.
/// Throws CannotMake for a link, a pipe, a socket, a device, a name with a line break or too long for
/// a disc, and for what cannot be read; what OpenDirectory throws for what cannot be looked at.
std::vector<PayloadEntry> ListPayload(const KVLInsIO::OpenDirectory& directory);

}  // namespace kvl
