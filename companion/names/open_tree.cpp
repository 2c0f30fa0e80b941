#include "companion/names/open_tree.h"

#include <algorithm>
#include <utility>

#include "companion/names/path_below.h"

namespace kvl {

using KVLInsIO::OpenDirectory;

std::shared_ptr<const OpenDirectory> OpenTree::Hold(const std::string& path) {
  if (path.empty()) return top_;
  if (here_ && path == path_) return here_;
  // The next directory usually lies in the last one.
  const bool is_below = here_ && path.starts_with(path_ + "/");
  std::shared_ptr<const OpenDirectory> place = is_below ? std::move(here_) : top_;
  std::size_t begin = is_below ? path_.size() + 1 : 0;
  here_.reset();
  if (FollowsLinks()) {
    place = std::make_shared<OpenDirectory>(PathBelow(top_->Path(), path));
    begin = path.size();
  }
  for (std::size_t end; begin < path.size(); begin = end + 1) {
    end = std::min(path.find('/', begin), path.size());
    const std::string name = path.substr(begin, end - begin);
    place = std::make_shared<OpenDirectory>(
        missing_ == Missing::kIsMade ? place->MakeDirectory(name) : place->Directory(name));
  }
  here_ = place;
  path_ = path;
  return place;
}

Place::Place(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos) directory = path.substr(0, slash);
  name = path.substr(slash == std::string::npos ? 0 : slash + 1);
}

}  // namespace kvl
