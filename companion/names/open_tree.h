// Going about in a tree, by names, from a directory that is held open.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "insio/open_directory.h"

namespace kvl {

/// What becomes of symbolic links: they stay what they are, or what they lead to stands in their place.
enum class Links { kKept, kFollowed };

/// The last directory stays open, so that one entry after the other of it costs no way there.
class OpenTree {
 public:
  enum class Missing { kFails, kIsMade };

  /// `missing` is for directories below the top, which must outlive the tree and all that it gives.
  /// Links to directories are followed on the way only when `links` says so, and then also out of the
  /// tree.
  OpenTree(const KVLInsIO::OpenDirectory& top, Missing missing, Links links = Links::kKept)
      : top_(std::shared_ptr<void>(), &top), missing_(missing), links_(links) {}
  /// A tree that owns its top.
  OpenTree(KVLInsIO::OpenDirectory&& top, Missing missing, Links links = Links::kKept)
      : top_(std::make_shared<KVLInsIO::OpenDirectory>(std::move(top))),
        missing_(missing),
        links_(links) {}

  /// The directory at a path of names below the top, such as "a/b"; the empty one is the top. It stays
  /// open until the next call. Throws as OpenDirectory does.
  const KVLInsIO::OpenDirectory& At(const std::string& path) { return *Hold(path); }
  /// The same, open for as long as somebody holds it.
  std::shared_ptr<const KVLInsIO::OpenDirectory> Hold(const std::string& path);

  bool FollowsLinks() const { return links_ == Links::kFollowed; }

 private:
  std::shared_ptr<const KVLInsIO::OpenDirectory> top_;
  Missing missing_;
  Links links_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> here_;
  std::string path_;  // of `here_`
};

/// A path as the directory and the name in it.
struct Place {
  explicit Place(const std::string& path);
  std::string directory, name;
};

}  // namespace kvl
