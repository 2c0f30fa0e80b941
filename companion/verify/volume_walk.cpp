#include "companion/verify/volume_walk.h"

#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <set>
#include <string>
#include <utility>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "companion/names/plain_text.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::OpenDirectory;
using Kind = ExpectedEntry::Kind;

class VolumeWalk {
 public:
  VolumeWalk(const OpenDirectory& top, const ExpectedEntries& expected, std::vector<Flaw>& flaws)
      : top_(top),
        tree_(top, OpenTree::Missing::kFails),
        expected_(expected),
        is_met_(expected.All().size()),
        flaws_(flaws) {}

  std::vector<std::size_t> Run() {
    LookThrough("");
    const std::vector<ExpectedEntry>& entries = expected_.All();
    for (std::size_t i = 0; i < directories_.size(); ++i) {
      LookThrough(entries[directories_[i]].path);
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!is_met_[i] && !IsBelowUnread(entries[i].path)) Add(FlawKind::kMissing, entries[i].path);
    }
    AddModes();
    std::sort(files_.begin(), files_.end());
    return std::move(files_);
  }

 private:
  void Add(FlawKind kind, const std::string& path, const std::string& detail = "") {
    flaws_.push_back({kind, path.empty() ? top_.Path() : PathBelow(top_.Path(), path), detail});
  }

  /// A directory at a path below the top.
  void LookThrough(const std::string& path) {
    try {
      const OpenDirectory& directory = tree_.At(path);
      for (const std::string& name : directory.Names()) {
        LookAt(directory, name, path.empty() ? name : PathBelow(path, name));
      }
    } catch (const std::exception& failure) {
      AddUnread(path, failure);
    }
  }

  void LookAt(const OpenDirectory& directory, const std::string& name, const std::string& path) {
    const std::size_t index = expected_.IndexOf(path);
    if (index == is_met_.size()) return Add(FlawKind::kNotListed, path);
    is_met_[index] = true;
    try {
      Compare(directory, name, index);
    } catch (const std::exception& failure) {
      AddUnread(path, failure);
    }
  }

  void Compare(const OpenDirectory& directory, const std::string& name, std::size_t index) {
    const ExpectedEntry& entry = expected_.All()[index];
    const EntryState state = directory.Look(name);
    switch (entry.kind) {
      case Kind::kDirectory:
        if (!S_ISDIR(state.mode)) return Add(FlawKind::kWrongKind, entry.path, "no directory");
        directories_.push_back(index);
        return;
      case Kind::kLink:
        if (!S_ISLNK(state.mode)) return Add(FlawKind::kWrongKind, entry.path, "no symbolic link");
        CompareTarget(directory.Target(name), entry);
        return;
      case Kind::kFile:
        if (!S_ISREG(state.mode)) return Add(FlawKind::kWrongKind, entry.path, "no regular file");
        CompareMode(IsProgram(state.mode), index);
        if (entry.is_compared) files_.push_back(index);
    }
  }

  void CompareTarget(const std::string& target, const ExpectedEntry& entry) {
    if (target == entry.target) return;
    Add(FlawKind::kWrongLink, entry.path, "leads to " + target + " instead of " + entry.target);
  }

  void CompareMode(bool is_program, std::size_t index) {
    ++(is_program ? programs_ : plain_files_);
    if (is_program != expected_.All()[index].is_program) wrong_modes_.push_back(index);
  }

  void AddModes() {
    const bool has_modes = programs_ > 0 && plain_files_ > 0;
    if (wrong_modes_.size() > 1 && !has_modes) {
      return Add(FlawKind::kWrongMode, "",
                 programs_ > 0 ? "every file is executable: no modes are kept here"
                               : "no file is executable: no modes are kept here");
    }
    for (const std::size_t index : wrong_modes_) {
      const ExpectedEntry& entry = expected_.All()[index];
      Add(FlawKind::kWrongMode, entry.path, entry.is_program ? "not executable" : "executable");
    }
  }

  void AddUnread(const std::string& path, const std::exception& failure) {
    Add(FlawKind::kUnreadable, path, MessageOf(failure));
    unread_.insert(path);
  }

  /// What lies there is not known.
  bool IsBelowUnread(std::string path) const {
    if (unread_.empty()) return false;
    while (!path.empty()) {
      path = Place(path).directory;
      if (unread_.contains(path)) return true;
    }
    return false;
  }

  const OpenDirectory& top_;
  OpenTree tree_;
  const ExpectedEntries& expected_;
  std::vector<bool> is_met_;
  std::vector<std::size_t> directories_;  // that are there
  std::vector<std::size_t> files_;
  std::vector<std::size_t> wrong_modes_;
  std::size_t programs_ = 0, plain_files_ = 0;  // that are there
  std::set<std::string> unread_;
  std::vector<Flaw>& flaws_;
};

}  // namespace

std::vector<std::size_t> WalkVolume(const OpenDirectory& directory, const ExpectedEntries& entries,
                                    std::vector<Flaw>& flaws) {
  return VolumeWalk(directory, entries, flaws).Run();
}

}  // namespace kvl
