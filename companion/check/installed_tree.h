// The payloads of all volumes as the one tree that they form once they are installed.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "companion/names/path_state.h"

namespace kvl {

class InstalledTree {
 public:
  /// Adds the payload of the volume with this number; `volume` is its directory.
  void AddPayloadOf(const std::string& volume, const std::string& number);

  /// Returns true if the link at this path leads to something in any payload. The path begins with
  /// the directory of a volume as it was added. The link may lead through other links, but never
  /// out of the tree. What the system cannot look at counts as missing.
  bool HasWhatLinkLeadsTo(const std::string& link) const;

 private:
  bool HasPath(std::string path) const;
  /// Returns the place and the state of the entry in the first payload that has it.
  std::pair<std::string, PathState> Find(const std::string& path) const;

  std::vector<std::string> payloads_;
};

}  // namespace kvl
