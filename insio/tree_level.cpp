#include "insio/tree_level.h"

#include <algorithm>
#include <utility>

#include "insio/finder_walk.h"
#include "insio/path.h"

namespace KVLInsIO::internal {
namespace {

/// How many directories of a tree stay open at once. Further down, a walk reads the names ahead, so
/// that the limit on open files does not cut off a deep tree.
constexpr int kMostOpenLevels = 4;

/// How many bytes of names a walk reads ahead on all levels together. A level that needs more stays
/// open; one path cannot have many of that size.
constexpr std::size_t kMostBytesAhead = 524'288;

}  // namespace

bool Identify(const std::string& path, FileIdentity& identity) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return false;
  identity = {status.st_dev, status.st_ino};
  return true;
}

bool Identify(const FileDescriptor& file, FileIdentity& identity) {
  struct stat status;
  if (::fstat(file.Number(), &status) != 0) return false;
  identity = {status.st_dev, status.st_ino};
  return true;
}

TreeLevel::TreeLevel(std::string directory, InsFileFinder entries)
    : directory_(std::move(directory)), entries_(std::move(entries)) {}

TreeLevel::TreeLevel(std::string directory, InsFileFinder entries, const TreeLevel& above,
                     std::size_t bytes_ahead)
    : directory_(std::move(directory)),
      entries_(std::move(entries)),
      above_(&above),
      depth_(above.depth_ + 1),
      bytes_ahead_above_(bytes_ahead),
      behind_link_(above.EntryIsBehindLink()) {}

TreeLevel TreeLevel::Top(const std::string& path) {
  FileIdentity given, normalised;
  const bool is_another =
      Identify(path, given) && !(Identify(InsPath(path).Str(), normalised) && normalised == given);
  return TreeLevel(path, is_another ? FindFirstFileExactly(path, kDirectoryOrFile)
                                    : FindFirstFile(path, kDirectoryOrFile));
}

TreeLevel TreeLevel::Below(TreeLevel& above) {
  std::size_t bytes_ahead = above.bytes_ahead_above_;
  if (above.depth_ >= kMostOpenLevels) {
    const std::size_t most = kMostBytesAhead - std::min(bytes_ahead, kMostBytesAhead);
    bytes_ahead += ReadAhead(above.entries_, most);
  }
  return TreeLevel(above.entries_.FullPath(), internal::EnterEntry(above.entries_), above,
                   bytes_ahead);
}

bool TreeLevel::EntryLeadsBack() const {
  // Without a link on the way, nothing leads back up, so no check is needed.
  if (!EntryIsBehindLink()) return false;
  FileIdentity target;
  if (!Identify(entries_.FullPath(), target)) return false;
  for (const TreeLevel* level = this; level != nullptr; level = level->above_) {
    FileIdentity passed;
    if (Identify(level->directory_, passed) && passed == target) return true;
  }
  return false;
}

}  // namespace KVLInsIO::internal
