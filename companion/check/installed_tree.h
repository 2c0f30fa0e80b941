// The payloads of a media as the one tree that they are once they are installed.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "companion/names/path_state.h"

namespace kvl {

class InstalledTree {
 public:
  /// Of the volume with that number in `volume`.
  void AddPayloadOf(const std::string& volume, const std::string& number);

  /// True for the path of a link in one of the payloads, each named as it was added, that leads to
  /// something in any of them, maybe through other links, and at no time out of the tree. What cannot
  /// be looked at is not there.
  bool HasWhatLinkLeadsTo(const std::string& link) const;

 private:
  bool HasPath(std::string path) const;
  /// Where the entry is, and what: in the first payload that has it.
  std::pair<std::string, PathState> Find(const std::string& path) const;

  std::vector<std::string> payloads_;
};

}  // namespace kvl
