// Opens the directories of a tree by name, starting from a directory that stays open.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "insio/open_directory.h"

namespace kvl {

/// Whether symbolic links stay links, or what they lead to takes their place.
enum class Links { kKept, kFollowed };

/// Keeps the last directory open, so that its entries need no new way from the top.
class OpenTree {
 public:
  enum class Missing { kFails, kIsMade };

  /// `missing` says what happens to a missing directory below the top. The top must outlive the
  /// tree and all directories that it returns. Follows links to directories only if `links` says
  /// so, then also out of the tree.
  OpenTree(const KVLInsIO::OpenDirectory& top, Missing missing, Links links = Links::kKept)
      : top_(std::shared_ptr<void>(), &top), missing_(missing), links_(links) {}
  /// Does the same with a top that the tree owns.
  OpenTree(KVLInsIO::OpenDirectory&& top, Missing missing, Links links = Links::kKept)
      : top_(std::make_shared<KVLInsIO::OpenDirectory>(std::move(top))),
        missing_(missing),
        links_(links) {}

  /// Returns the directory at a path below the top, such as "a/b"; the empty path is the top. The
  /// directory stays open until the next call. Throws what OpenDirectory throws.
  const KVLInsIO::OpenDirectory& At(const std::string& path) { return *Hold(path); }
  /// Returns the same directory, which stays open as long as the caller holds it.
  std::shared_ptr<const KVLInsIO::OpenDirectory> Hold(const std::string& path);

  bool FollowsLinks() const { return links_ == Links::kFollowed; }

 private:
  std::shared_ptr<const KVLInsIO::OpenDirectory> top_;
  Missing missing_;
  Links links_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> here_;
  std::string path_;  // of `here_`
};

/// A path, split into the directory and the name in it.
struct Place {
  explicit Place(const std::string& path);
  std::string directory, name;
};

}  // namespace kvl
