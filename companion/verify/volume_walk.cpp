#include "companion/verify/volume_walk.h"

#include <sys/stat.h>

#include <exception>
#include <memory>
#include <optional>
#include <stack>
#include <string>
#include <utility>

#include "companion/names/lost_and_found.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/seal/listed_path.h"
#include "companion/verify/mode_check.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::OpenDirectory;
using Kind = ExpectedEntry::Kind;

/// Walks through the directories and the expected entries in step: both are in PathOrder.
class VolumeWalk {
 public:
  VolumeWalk(const OpenDirectory& top, ExpectedEntries& expected, ContentsComparison& contents,
             std::vector<Flaw>& flaws)
      : top_(top),
        tree_(top, OpenTree::Missing::kFails),
        expected_(expected),
        contents_(contents),
        flaws_(flaws) {}

  void Run() {
    expected_.Begin();
    GoInto("");
    while (!levels_.empty()) {
      Level& level = levels_.top();
      if (level.next == level.names.size()) {
        levels_.pop();
        continue;
      }
      const std::string name = std::move(level.names[level.next++]);
      LookAt(level.path, name, level.path.empty() ? name : PathBelow(level.path, name));
    }
    while (expected_.Entry() != nullptr) AddMissing();
    modes_.AddFlaws(top_.Path(), flaws_);
  }

 private:
  /// The present directory of the walk, or one above it.
  struct Level {
    std::string path;
    std::vector<std::string> names;
    std::size_t next = 0;
  };

  void Add(FlawKind kind, const std::string& path, const std::string& detail = "") {
    flaws_.push_back({kind, path.empty() ? top_.Path() : PathBelow(top_.Path(), path), detail});
  }

  void GoInto(const std::string& path) {
    try {
      levels_.push({path, tree_.At(path).Names()});
    } catch (const std::exception& failure) {
      AddUnread(path, failure);
    }
  }

  void LookAt(const std::string& directory, const std::string& name, const std::string& path) {
    while (expected_.Entry() != nullptr && PathOrder()(expected_.Entry()->path, path)) AddMissing();
    if (expected_.Entry() == nullptr || expected_.Entry()->path != path) {
      if (directory.empty() && IsLostAndFound(top_, name)) return;
      return Add(FlawKind::kNotListed, path);
    }
    const ExpectedEntry entry = *expected_.Entry();
    expected_.Advance();
    try {
      Compare(tree_.Hold(directory), name, entry);
    } catch (const std::exception& failure) {
      AddUnread(path, failure);
    }
  }

  void Compare(const std::shared_ptr<const OpenDirectory>& directory, const std::string& name,
               const ExpectedEntry& entry) {
    const EntryState state = directory->Look(name);
    switch (entry.kind) {
      case Kind::kDirectory:
        if (!S_ISDIR(state.mode)) return AddWrongKind(entry.path, "directory");
        modes_.Add(entry.path, state.mode, ModeCheck::Kind::kDirectory);
        return GoInto(entry.path);
      case Kind::kLink:
        if (!S_ISLNK(state.mode)) return AddWrongKind(entry.path, "symbolic link");
        return CompareTarget(directory->Target(name), entry);
      case Kind::kFile:
        if (!S_ISREG(state.mode)) return AddWrongKind(entry.path, "regular file");
        modes_.Add(entry.path, state.mode,
                   entry.is_program ? ModeCheck::Kind::kProgram : ModeCheck::Kind::kPlain);
        if (entry.is_compared) contents_.Compare(directory, name, state.size, entry.digest);
    }
  }

  void CompareTarget(const std::string& target, const ExpectedEntry& entry) {
    if (target == entry.target) return;
    Add(FlawKind::kWrongLink, entry.path, "leads to " + target + " instead of " + entry.target);
  }

  void AddWrongKind(const std::string& path, const std::string& kind) {
    Add(FlawKind::kWrongKind, path, "it is not a " + kind);
  }

  /// Adds the expected entry as missing, unless it lies in a directory that could not be read.
  void AddMissing() {
    const std::string path = expected_.Entry()->path;
    const bool is_unread = unread_ && (unread_->empty() || path.starts_with(*unread_ + "/"));
    if (!is_unread) Add(FlawKind::kMissing, path);
    expected_.Advance();
  }

  void AddUnread(const std::string& path, const std::exception& failure) {
    Add(FlawKind::kUnreadable, path, MessageOf(failure));
    unread_ = path;
  }

  const OpenDirectory& top_;
  OpenTree tree_;
  ExpectedEntries& expected_;
  ContentsComparison& contents_;
  std::stack<Level> levels_;
  std::optional<std::string> unread_;  // the last entry that could not be read
  ModeCheck modes_;
  std::vector<Flaw>& flaws_;
};

}  // namespace

void WalkVolume(const OpenDirectory& directory, ExpectedEntries& expected,
                ContentsComparison& contents, std::vector<Flaw>& flaws) {
  VolumeWalk(directory, expected, contents, flaws).Run();
}

}  // namespace kvl
