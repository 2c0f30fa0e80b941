#include "companion/make/payload_walk.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "companion/names/path_below.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

PayloadEntry FileEntry(const std::string& path, const EntryState& state) {
  return {path, EntryType::kFile, IsProgram(state.mode), state.size, state.modified, MarkOf(state)};
}

class PayloadWalk {
 public:
  PayloadWalk(const OpenDirectory& top, Links links)
      : tree_(top, OpenTree::Missing::kFails, links) {}

  PayloadList Run() {
    ListBelow("");
    return std::move(list_);
  }

 private:
  /// Keeps only one directory open at a time.
  void ListBelow(const std::string& path) {
    const std::string prefix = path.empty() ? "" : path + "/";
    for (const std::string& name : tree_.At(path).Names()) {
      ListEntry(tree_.At(path), name, prefix + name);
    }
  }

  void ListEntry(const OpenDirectory& directory, const std::string& name, const std::string& path) {
    const std::string full = PathBelow(directory.Path(), name);
    const EntryState state = directory.Look(name);
    if (name.find_first_of("\n\r") != std::string::npos) {
      throw CannotMake("a name has a line break: " + full + "; rename it");
    }
    if (name.size() > kLongestDiscName) {
      throw CannotMake("a name is too long for a disc: " + full + "; shorten it to " +
                       std::to_string(kLongestDiscName) + " bytes");
    }
    if (S_ISLNK(state.mode)) {
      if (tree_.FollowsLinks()) return ListWhatItLeadsTo(path, full);
      return list_.Add({.name = path,
                        .type = EntryType::kLink,
                        .modified = state.modified,
                        .mark = MarkOf(state),
                        .target = directory.Target(name)});
    }
    if (S_ISDIR(state.mode)) return ListDirectory(path, full, {state.device, state.inode});
    if (!S_ISREG(state.mode)) RefuseKind(full);
    (void)directory.File(name);  // throws before make writes anything if the file cannot be read
    list_.Add(FileEntry(path, state));
  }

  /// Throws if the directory is one of those above it, to which a link has led back.
  void ListDirectory(const std::string& path, const std::string& full,
                     const FileIdentity& identity) {
    if (std::find(way_.begin(), way_.end(), identity) != way_.end()) {
      throw CannotMake("a link leads back to a directory that contains it: " + full +
                       "; remove it, or let it lead elsewhere");
    }
    list_.Add({.name = path, .type = EntryType::kDirectory});
    way_.push_back(identity);
    ListBelow(path);
    way_.pop_back();
  }

  void ListWhatItLeadsTo(const std::string& path, const std::string& full) {
    const PathState there = StateAt(full);
    if (!there.IsThere()) {
      throw CannotMake("a link leads to nothing: " + full +
                       "; remove it, or let it lead elsewhere");
    }
    if (there.IsDirectory()) return ListDirectory(path, full, there.identity);
    if (!there.IsFile()) RefuseKind(full);
    list_.Add(FileEntry(path, OpenFile(full).State()));
  }

  [[noreturn]] static void RefuseKind(const std::string& full) {
    throw CannotMake("a pipe, socket or device cannot go onto a media: " + full + "; remove it");
  }

  OpenTree tree_;
  std::vector<FileIdentity> way_;  // the directories from the top down to the present one
  PayloadList list_;
};

}  // namespace

PayloadList ListPayload(const OpenDirectory& directory, Links links) {
  return PayloadWalk(directory, links).Run();
}

}  // namespace kvl
