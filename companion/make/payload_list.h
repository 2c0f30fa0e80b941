// What is to be put on a media, as it lies in a directory.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "companion/names/open_tree.h"
#include "insio/open_directory.h"

namespace kvl {

/// A call that makes no sense, or a payload that cannot be put on a media; the text says why.
class CannotMake : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class EntryType { kFile, kDirectory, kLink };

struct PayloadEntry {
  std::string name;  ///< its path in the payload, without "/" in front
  EntryType type = EntryType::kFile;
  std::uint64_t size = 0;           ///< of a file
  KVLInsIO::EntryState state = {};  ///< as it was when it was listed
  std::string target = {};          ///< what a link holds

  bool IsFile() const { return type == EntryType::kFile; }
  bool IsDirectory() const { return type == EntryType::kDirectory; }
  bool IsLink() const { return type == EntryType::kLink; }
};

/// Everything below the directory, sorted by name, a directory before what lies in it. With
/// Links::kFollowed, what a link leads to stands there in its place.
/// Throws CannotMake for a pipe, a socket, a device, a name with a line break or too long for a disc,
/// for a link to follow that leads to a directory above it, and for what cannot be read; what
/// OpenDirectory throws for what cannot be looked at.
std::vector<PayloadEntry> ListPayload(const KVLInsIO::OpenDirectory& directory, Links links);

}  // namespace kvl
