#include "companion/make/payload_list.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

class Lister {
 public:
  Lister(const OpenDirectory& top, Links links) : tree_(top, OpenTree::Missing::kFails, links) {}

  std::vector<PayloadEntry> Run() {
    ListBelow("");
    return std::move(entries_);
  }

 private:
  /// Looks at a whole level before it goes down, so that one directory is open at a time.
  void ListBelow(const std::string& path) {
    const std::string prefix = path.empty() ? "" : path + "/";
    std::vector<PayloadEntry> level;
    const OpenDirectory& directory = tree_.At(path);
    for (const std::string& name : directory.Names()) {
      level.push_back(LookAt(directory, name, prefix + name));
    }
    for (const PayloadEntry& entry : level) {
      entries_.push_back(entry);
      if (entry.IsDirectory()) GoDown(entry);
    }
  }

  /// The directories above are known, so that no link leads back to one of them.
  void GoDown(const PayloadEntry& entry) {
    const FileIdentity identity(entry.state.device, entry.state.inode);
    if (std::find(way_.begin(), way_.end(), identity) != way_.end()) {
      throw CannotMake("a link leads round in a circle: " + FullPath(entry.name));
    }
    way_.push_back(identity);
    ListBelow(entry.name);
    way_.pop_back();
  }

  PayloadEntry LookAt(const OpenDirectory& directory, const std::string& name,
                      const std::string& path) const {
    const std::string full = PathBelow(directory.Path(), name);
    const EntryState state = directory.Look(name);
    if (name.find_first_of("\n\r") != std::string::npos) {
      throw CannotMake("a name with a line break cannot be listed: " + full);
    }
    if (name.size() > kLongestDiscName) {
      throw CannotMake("a name is too long for a disc: " + full);
    }
    if (S_ISLNK(state.mode)) {
      if (tree_.FollowsLinks()) return WhereItLeads(path, full);
      return {path, EntryType::kLink, 0, state, directory.Target(name)};
    }
    if (S_ISDIR(state.mode)) return {path, EntryType::kDirectory, 0, state};
    if (!S_ISREG(state.mode)) RefuseKind(full);
    (void)directory.File(name);  // so that nothing is written when one of them cannot be read
    return {path, EntryType::kFile, state.size, state};
  }

  static PayloadEntry WhereItLeads(const std::string& path, const std::string& full) {
    const PathState there = StateAt(full);
    if (!there.IsThere()) throw CannotMake("a link leads to nothing: " + full);
    if (there.IsDirectory()) {
      const auto& [device, inode] = there.identity;
      return {path, EntryType::kDirectory, 0, {.device = device, .inode = inode}};
    }
    if (!there.IsFile()) RefuseKind(full);
    const EntryState state = OpenFile(full).State();
    return {path, EntryType::kFile, state.size, state};
  }

  [[noreturn]] static void RefuseKind(const std::string& full) {
    throw CannotMake("neither a file nor a directory: " + full);
  }

  std::string FullPath(const std::string& path) { return PathBelow(tree_.At("").Path(), path); }

  OpenTree tree_;
  std::vector<FileIdentity> way_;  ///< down to where it is
  std::vector<PayloadEntry> entries_;
};

}  // namespace

std::vector<PayloadEntry> ListPayload(const OpenDirectory& directory, Links links) {
  return Lister(directory, links).Run();
}

}  // namespace kvl
