#include "companion/names/open_tree.h"

#include <algorithm>
#include <utility>

#include "companion/names/path_below.h"

namespace kvl {

using KVLInsIO::OpenDirectory;

const OpenDirectory& OpenTree::At(const std::string& path) {
  if (path.empty()) return top_;
  if (here_ && path == path_) return *here_;
  if (FollowsLinks()) {
    here_.emplace(PathBelow(top_.Path(), path));
    path_ = path;
    return *here_;
  }
  // A directory is mostly followed by those in it.
  const bool is_below = here_ && path.starts_with(path_ + "/");
  std::optional<OpenDirectory> place;
  std::size_t begin = is_below ? path_.size() + 1 : 0;
  if (is_below) place = std::move(here_);
  here_.reset();
  for (std::size_t end; begin < path.size(); begin = end + 1) {
    end = std::min(path.find('/', begin), path.size());
    const std::string name = path.substr(begin, end - begin);
    const OpenDirectory& above = place ? *place : top_;
    place = missing_ == Missing::kIsMade ? above.MakeDirectory(name) : above.Directory(name);
  }
  here_ = std::move(place);
  path_ = path;
  return *here_;
}

Place::Place(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos) directory = path.substr(0, slash);
  name = path.substr(slash == std::string::npos ? 0 : slash + 1);
}

}  // namespace kvl
