#include "companion/check/tree_survey.h"

#include <errno.h>

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

/// A step from one directory into another.
struct Way {
  FileIdentity to;
  std::string path;
  bool is_link;
};

/// The directories of a tree and the steps between them.
class Graph {
 public:
  void Add(const FileIdentity& from, Way way) {
    std::vector<Way>& ways = ways_[from];
    if (ways.empty()) order_.push_back(from);
    ways.push_back(std::move(way));
  }

  /// Walks through all directories and adds a finding for one link of each circle. Takes
  /// directories in the order in which they were added, because the order of identities differs
  /// from copy to copy.
  void FindCircles(Findings& findings) {
    for (const FileIdentity& start : order_) {
      if (!state_.contains(start)) FindCirclesBelow(start, findings);
    }
  }

 private:
  enum class State { kOnTheWay, kDone };
  struct Step {
    FileIdentity directory;
    std::size_t next_way;
  };

  void FindCirclesBelow(const FileIdentity& start, Findings& findings) {
    std::vector<Step> steps = {{start, 0}};
    state_[start] = State::kOnTheWay;
    while (!steps.empty()) {
      Step& step = steps.back();
      const auto ways = ways_.find(step.directory);
      if (ways == ways_.end() || step.next_way == ways->second.size()) {
        state_[step.directory] = State::kDone;
        steps.pop_back();
        continue;
      }
      const Way& way = ways->second[step.next_way++];
      const auto seen = state_.find(way.to);
      if (seen == state_.end()) {
        state_[way.to] = State::kOnTheWay;
        steps.push_back({way.to, 0});
      } else if (seen->second == State::kOnTheWay) {
        Report(steps, way, findings);
      }
    }
  }

  /// Adds a finding for a link of the circle that `last`, a step back into `steps`, closes.
  void Report(const std::vector<Step>& steps, const Way& last, Findings& findings) {
    const Way* link = last.is_link ? &last : nullptr;
    for (std::size_t i = steps.size(); link == nullptr && i-- > 0;) {
      if (steps[i].directory == last.to || i == 0) break;
      const Step& before = steps[i - 1];
      const Way& way = ways_[before.directory][before.next_way - 1];
      if (way.is_link) link = &way;
    }
    if (link == nullptr) return;
    findings.Add(FindingKind::kLinkCycle, Severity::kWarning, link->path);
  }

  std::map<FileIdentity, std::vector<Way>> ways_;
  std::vector<FileIdentity> order_;  // the keys of `ways_`
  std::map<FileIdentity, State> state_;
};

class TreeSurvey {
 public:
  TreeSurvey(const InstalledTree& installed, Findings& findings)
      : installed_(installed), findings_(findings) {}

  void Run(const std::string& top) {
    top_ = top;
    open_.push_back(top);
    while (!open_.empty()) {
      const std::string directory = std::move(open_.back());
      open_.pop_back();
      LookThrough(directory);
    }
    graph_.FindCircles(findings_);
  }

 private:
  void Warn(FindingKind kind, const std::string& path) {
    findings_.Add(kind, Severity::kWarning, path);
  }

  /// Does what AddUnseen does, with a warning.
  bool IsUnseen(const std::string& path, int error) {
    return AddUnseen(path, error, Severity::kWarning, findings_);
  }

  void LookThrough(const std::string& directory) {
    const DirectoryNames list = SortedNamesIn(directory);
    if (list.error != 0 && !IsUnseen(directory, list.error)) {
      Warn(FindingKind::kDirectoryNotListable, directory);
    }
    const PathState here = StateAt(directory);
    if (!here.IsThere()) return LookAtError(directory, here.error);
    if (directory == top_) LookAtMode(top_, here);
    const std::size_t first_below = open_.size();
    for (const std::string& name : list.names) {
      LookAt(here.identity, PathBelow(directory, name), name);
    }
    std::reverse(open_.begin() + static_cast<std::ptrdiff_t>(first_below), open_.end());
  }

  void LookAt(const FileIdentity& parent, const std::string& path, const std::string& name) {
    if (name.size() > kLongestDiscName) Warn(FindingKind::kNameTooLong, path);
    const PathState state = StateOfEntry(path);
    if (!state.IsThere()) {
      LookAtError(path, state.error);
    } else if (state.IsLink()) {
      LookAtLink(parent, path);
    } else if (!AddSpecialFile(path, state, Severity::kWarning, findings_)) {
      LookAtMode(path, state);
      if (!state.IsDirectory()) return;
      graph_.Add(parent, {state.identity, path, /*is_link=*/false});
      open_.push_back(path);
    }
  }

  void LookAtMode(const std::string& path, const PathState& state) {
    if (findings_.Has(FindingKind::kClosedFile, path)) return;  // staging has reported it
    AddNotForOthers(path, state, findings_);
  }

  void LookAtError(const std::string& path, int error) {
    if (IsUnseen(path, error)) return;
    if (error == ENAMETOOLONG) {
      Warn(FindingKind::kPathTooLong, path);
    } else if (error == ENOENT) {  // although it was listed
      AddUnread(path, error, Severity::kWarning, findings_);
    } else {
      Warn(FindingKind::kClosedWay, path);
    }
  }

  void LookAtLink(const FileIdentity& parent, const std::string& path) {
    const PathState target = StateAt(path);
    if (!target.IsThere()) {
      if (IsUnseen(path, target.error) || installed_.HasWhatLinkLeadsTo(path)) return;
      const bool is_long_way = target.error == ELOOP;
      Warn(is_long_way ? FindingKind::kTooManyLinks : FindingKind::kDanglingLink, path);
      return;
    }
    AddSpecialFile(path, target, Severity::kWarning, findings_);
    if (target.IsDirectory()) graph_.Add(parent, {target.identity, path, /*is_link=*/true});
  }

  const InstalledTree& installed_;
  Findings& findings_;
  std::string top_;
  std::vector<std::string> open_;  // directories still to be looked through, the next one last
  Graph graph_;
};

}  // namespace

void AddNotForOthers(const std::string& path, const PathState& state, Findings& findings) {
  const mode_t wanted = state.IsDirectory() ? S_IROTH | S_IXOTH : S_IROTH;
  if ((state.mode & wanted) == wanted) return;
  findings.Add(
      state.IsDirectory() ? FindingKind::kDirectoryNotForOthers : FindingKind::kFileNotForOthers,
      path);
}

void SurveyTree(const std::string& directory, const InstalledTree& installed, Findings& findings) {
  TreeSurvey(installed, findings).Run(directory);
}

}  // namespace kvl
