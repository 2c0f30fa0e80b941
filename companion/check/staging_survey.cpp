#include "companion/check/staging_survey.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/check/temporary_directory.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "insio/file_attributes.h"
#include "insio/path.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

/// Trees of links can have more files than there are numbers.
std::uint64_t Sum(std::uint64_t left, std::uint64_t right) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return left > most - right ? most : left + right;
}

struct Totals {
  std::uint64_t files = 0, directories = 0, bytes = 0;

  void Add(const Totals& more) {
    files = Sum(files, more.files);
    directories = Sum(directories, more.directories);
    bytes = Sum(bytes, more.bytes);
  }
};

class StagingSurvey {
 public:
  StagingSurvey(const StagingRequest& request, Findings& findings)
      : request_(request), findings_(findings) {}

  StagingForecast Run() {
    LookAtTarget();
    Totals totals;
    const std::vector<StagingCopy> copies = StagingCopies(request_);
    for (const StagingCopy& copy : copies) totals.Add(Top(copy));
    forecast_.files = totals.files;
    forecast_.directories = totals.directories;
    forecast_.bytes = totals.bytes;
    forecast_.free_bytes = KVLInsIO::GetFreeSpace(request_.staging_dir_slash);
    if (totals.bytes > static_cast<std::uint64_t>(forecast_.free_bytes)) {
      Fail(FindingKind::kNoSpace, request_.staging_dir_slash,
           {std::to_string(totals.bytes), std::to_string(forecast_.free_bytes)});
    }
    const std::uint64_t entries = Sum(totals.files, totals.directories);
    forecast_.free_entries = FreeEntries(request_.staging_dir_slash);
    const std::uint64_t needed = Sum(entries, 1);  // with the staging directory
    if (forecast_.free_entries && needed > *forecast_.free_entries) {
      Fail(FindingKind::kNoEntries, request_.staging_dir_slash,
           {std::to_string(needed), std::to_string(*forecast_.free_entries)});
    }
    if (!forecast_.fails && entries <= StagingForecast::kMostEntries) {
      std::set<std::string> names;
      for (const StagingCopy& copy : copies) List(copy.source, copy.destination, names);
      forecast_.names.assign(names.begin(), names.end());
    }
    return std::move(forecast_);
  }

 private:
  /// What makes staging fail is always an error.
  void Fail(FindingKind kind, const std::string& path, Findings::Arguments arguments = {}) {
    forecast_.fails = true;
    findings_.Add(kind, Severity::kError, path, arguments);
  }

  /// As the function of that name, for what staging needs.
  bool IsUnseen(const std::string& path, int error) {
    const bool is_unseen = AddUnseen(path, error, Severity::kError, findings_);
    if (is_unseen) forecast_.fails = true;
    return is_unseen;
  }

  /// The nearest directory on the way to `path` that exists already.
  InsPath NearestExisting(const std::string& path) {
    InsPath place(path.empty() || path.front() != '/' ? "./" + path : path);
    for (; !place.IsEmpty(); place = place.Parent()) {
      const PathState state = StateAt(place.Str());
      if (state.IsThere()) return place;
      IsUnseen(place.Str(), state.error);
    }
    return InsPath(".");
  }

  void LookWhetherItCanBeWritten(const InsPath& place) {
    const bool is_directory = StateAt(place.Str()).IsDirectory();
    const int error = WhyNotAllowed(place.Str(), W_OK | X_OK);
    const bool is_unseen = error != EROFS && IsUnseen(place.Str(), error);
    if (is_unseen || (is_directory && error == 0)) return;
    const std::string given = InsPath(request_.staging_dir_slash).Parent().Str();
    const bool is_there = StateAt(given).IsThere();
    Fail(!is_there      ? FindingKind::kTemporaryDirectoryMissing
         : is_directory ? FindingKind::kTemporaryDirectoryClosed
                        : FindingKind::kTemporaryDirectoryIsNone,
         given);
  }

  /// The staging directory itself, and the directories above it that a copy must not contain.
  void LookAtTarget() {
    const InsPath place = NearestExisting(request_.staging_dir_slash);
    LookWhetherItCanBeWritten(place);
    std::error_code error;
    std::filesystem::path real = std::filesystem::canonical(place.Str(), error);
    IsUnseen(place.Str(), error.value());
    if (error) return;
    for (;; real = real.parent_path()) {
      const PathState state = StateAt(real);
      if (state.IsThere()) above_target_.insert(state.identity);
      IsUnseen(real, state.error);
      if (!real.has_relative_path()) return;
    }
  }

  /// Where the same file of the media itself lies, over which one of an external media is laid;
  /// empty when it is not.
  std::string OverlaidBy(const StagingCopy& copy) const {
    if (request_.external_inst_slash.empty()) return {};
    if (!copy.source.starts_with(request_.external_inst_slash + "/")) return {};
    return KVLInsIO::Join(request_.media_dir.Str(),
                          copy.destination.substr(request_.staging_dir_slash.size()))
        .Str();
  }

  /// The directories of an external media are given with a doubled slash.
  std::string InOneSlash(std::string source) const {
    const std::string& prefix = request_.external_inst_slash;
    if (!prefix.empty() && source.starts_with(prefix + "/")) source.erase(prefix.size(), 1);
    return source;
  }

  Totals Top(const StagingCopy& copy) {
    const int error = StateOfEntry(copy.source).error;
    if (error == 0) return Entry(InOneSlash(copy.source), OverlaidBy(copy));
    const std::string source = InsPath(copy.source).Str();
    if (!IsUnseen(source, error)) Fail(FindingKind::kStagingSourceMissing, source);
    return {};
  }

  Totals Entry(const std::string& path, const std::string& overlaid) {
    const PathState state = StateAt(path);
    if (!state.IsThere()) {
      SayWhyItCannotBeCopied(path, state.error);
      return {};
    }
    if (state.IsDirectory()) return Directory(path, state.identity, overlaid);
    if (AddSpecialFile(path, state, Severity::kError, findings_)) {
      forecast_.fails = true;
      return {};
    }
    const int error = WhyNotAllowed(path, R_OK);
    if (error != 0 && !IsUnseen(path, error)) Fail(FindingKind::kClosedFile, path);
    LookAtOverlaid(path, overlaid, /*with_directory=*/false);
    return {1, 0, state.size};
  }

  void SayWhyItCannotBeCopied(const std::string& path, int error) {
    if (IsUnseen(path, error)) return;
    Fail(error == ELOOP                 ? FindingKind::kTooManyLinks
         : StateOfEntry(path).IsThere() ? FindingKind::kDanglingLink
                                        : FindingKind::kClosedWay,
         path);
  }

  /// What is staged already stands in the way when it is of another kind, or may not be written.
  void LookAtOverlaid(const std::string& path, const std::string& overlaid, bool with_directory) {
    if (overlaid.empty()) return;
    const PathState state = StateAt(overlaid);
    if (!state.IsThere()) {
      IsUnseen(overlaid, state.error);
    } else if (state.IsDirectory() != with_directory) {
      Fail(with_directory ? FindingKind::kDirectoryOverFile : FindingKind::kFileOverDirectory,
           path);
    } else if (!with_directory && (state.mode & S_IWUSR) == 0) {
      const bool fails = ::geteuid() != 0;  // only the superuser writes into it all the same
      if (fails) forecast_.fails = true;
      findings_.Add(FindingKind::kReadOnlyOverwritten,
                    fails ? Severity::kError : Severity::kWarning, overlaid);
    }
  }

  Totals Directory(const std::string& path, const FileIdentity& identity,
                   const std::string& overlaid) {
    LookAtOverlaid(path, overlaid, /*with_directory=*/true);
    if (above_target_.contains(identity)) {
      Fail(FindingKind::kStagingIntoItself, path);
      return {};
    }
    if (on_the_way_.contains(identity)) {
      Fail(FindingKind::kLinkCycle, path);
      return {};
    }
    if (const auto known = done_.find(identity); known != done_.end()) return known->second;

    const DirectoryNames list = SortedNamesIn(path);
    if (list.error != 0 && !IsUnseen(path, list.error)) {
      findings_.Add(FindingKind::kDirectoryNotListable, path);
    }
    on_the_way_.insert(identity);
    Totals totals = {0, 1, 0};
    for (const std::string& name : list.names) {
      totals.Add(Entry(PathBelow(path, name), overlaid.empty() ? "" : PathBelow(overlaid, name)));
    }
    on_the_way_.erase(identity);
    done_[identity] = totals;
    return totals;
  }

  /// Only of a tree that has been found to be finite and not too large.
  void List(const std::string& source, const std::string& destination,
            std::set<std::string>& names) {
    const PathState state = StateAt(source);
    if (IsUnseen(source, state.error) || !state.IsThere()) return;
    if (!state.IsDirectory()) {
      names.insert(destination.substr(request_.staging_dir_slash.size()));
      return;
    }
    const DirectoryNames list = SortedNamesIn(source);
    IsUnseen(source, list.error);
    for (const std::string& name : list.names) {
      List(PathBelow(source, name), PathBelow(destination, name), names);
    }
  }

  const StagingRequest& request_;
  Findings& findings_;
  StagingForecast forecast_;
  std::set<FileIdentity> above_target_;
  std::set<FileIdentity> on_the_way_;
  std::map<FileIdentity, Totals> done_;
};

}  // namespace

StagingForecast ForecastStaging(const StagingRequest& request, Findings& findings) {
  return StagingSurvey(request, findings).Run();
}

}  // namespace kvl
