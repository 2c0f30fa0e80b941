#include "companion/check/staging_survey.h"

#include <errno.h>
#include <limits.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "environment/media_names.h"
#include "insio/path.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

constexpr std::uint64_t kLengthOfIdentifier = 36;

/// Adds up to the largest number: a tree of links can have more files than a number holds.
std::uint64_t Sum(std::uint64_t left, std::uint64_t right) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return left > most - right ? most : left + right;
}

std::uint64_t Product(std::uint64_t left, std::uint64_t right) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return right != 0 && left > most / right ? most : left * right;
}

std::uint64_t Difference(std::uint64_t left, std::uint64_t right) {
  return left > right ? left - right : 0;
}

/// The room on a file system, in blocks.
class FreeRoom {
 public:
  /// Asks the file system of the nearest existing directory on the way to `path`. Without an answer
  /// there is no room.
  explicit FreeRoom(const std::string& path) {
    InsPath place(path);
    while (!place.IsEmpty() && ::statfs(place.Str().c_str(), &status_) != 0) place = place.Parent();
    is_endless_ = !place.IsEmpty() && status_.f_blocks == 0;
  }

  std::uint64_t BlockSize() const {
    const auto size = status_.f_frsize != 0 ? status_.f_frsize : status_.f_bsize;
    return std::max<std::uint64_t>(static_cast<std::uint64_t>(size), 1);
  }

  /// Returns the bytes that a file of this size takes, in whole blocks.
  std::uint64_t Taken(std::uint64_t size) const {
    const std::uint64_t rest = size % BlockSize();
    return rest == 0 ? size : Sum(size, BlockSize() - rest);
  }

  std::uint64_t FreeForAll() const { return Bytes(status_.f_bavail); }
  /// Returns the free bytes, for the superuser also those that the file system reserves.
  std::uint64_t FreeForUs() const {
    return Bytes(IsKeptForUs() ? status_.f_bfree : status_.f_bavail);
  }
  /// Returns how many more files and directories the file system can hold; nothing without a limit.
  std::optional<std::uint64_t> FreeEntries() const {
    if (status_.f_files == 0) return {};
    return status_.f_ffree;
  }

 private:
  static bool IsKeptForUs() { return ::geteuid() == 0; }

  std::uint64_t Bytes(std::uint64_t blocks) const {
    const std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    return is_endless_ ? most : std::min(Product(blocks, BlockSize()), most);
  }

  struct statfs status_ = {};
  bool is_endless_ = false;  // a file system in memory without a limit
};

struct Totals {
  std::uint64_t files = 0, directories = 0, bytes = 0;
  std::uint64_t taken = 0;           // on the file system, in whole blocks
  std::uint64_t replaced_bytes = 0;  // in staged files that a later copy overwrites
  std::uint64_t replaced_taken = 0;  // by these files
  std::uint64_t saved_taken = 0;     // by the old or the new file, whichever is smaller

  // The longest path to a file or directory below, in bytes; negative if there is no such entry.
  std::int64_t way_to_file = -1, way_to_directory = -1;

  void Add(const Totals& more) {
    files = Sum(files, more.files);
    directories = Sum(directories, more.directories);
    bytes = Sum(bytes, more.bytes);
    taken = Sum(taken, more.taken);
    replaced_bytes = Sum(replaced_bytes, more.replaced_bytes);
    replaced_taken = Sum(replaced_taken, more.replaced_taken);
    saved_taken = Sum(saved_taken, more.saved_taken);
  }

  void AddBelow(const std::string& name, const Totals& more) {
    Add(more);
    const auto further = static_cast<std::int64_t>(name.size()) + 1;
    if (more.way_to_file >= 0) way_to_file = std::max(way_to_file, further + more.way_to_file);
    if (more.way_to_directory >= 0) {
      way_to_directory = std::max(way_to_directory, further + more.way_to_directory);
    }
  }

  std::int64_t LongestWay() const { return std::max(way_to_file, way_to_directory); }
};

bool IsTooLong(std::size_t length, std::int64_t way) {
  return way >= 0 && length + static_cast<std::uint64_t>(way) >= PATH_MAX;
}

class StagingSurvey {
 public:
  StagingSurvey(const StagingRequest& request, Findings& findings)
      : request_(request), findings_(findings), room_(request.staging_dir_slash) {}

  StagingForecast Run() {
    LookAtTarget();
    Totals totals;
    std::uint64_t least_taken = 0;  // overwriting a file first frees its room
    const std::vector<StagingCopy> copies = StagingCopies(request_);
    for (const StagingCopy& copy : copies) {
      totals.Add(Top(copy));
      least_taken = std::max(least_taken, Difference(totals.taken, totals.replaced_taken));
    }
    forecast_.files = totals.files;
    forecast_.directories = totals.directories;
    forecast_.bytes = Difference(totals.bytes, totals.replaced_bytes);
    forecast_.free_entries = room_.FreeEntries();
    forecast_.free_bytes = static_cast<std::int64_t>(room_.FreeForAll());
    const std::uint64_t entries = Sum(forecast_.files, Sum(forecast_.directories, 1));
    LookAtRoom(least_taken, Difference(totals.taken, totals.saved_taken), entries);
    if (!forecast_.fails && entries <= StagingForecast::kMostEntries) {
      std::set<std::string> names;
      for (const StagingCopy& copy : copies) List(copy.source, copy.destination, names);
      forecast_.names.assign(names.begin(), names.end());
    }
    return std::move(forecast_);
  }

 private:
  /// Returns the name in place of the identifier of the staging directory.
  std::string NameOfStaging() const { return InsPath(request_.staging_dir_slash).FileName(); }

  /// Adds an error, because the finding makes staging fail.
  void Fail(FindingKind kind, const std::string& path, Findings::Arguments arguments = {}) {
    forecast_.fails = true;
    findings_.Add(kind, Severity::kError, path, arguments);
  }

  /// Compares the room that staging needs with the free room. Nobody knows how much room the file
  /// system needs to find the files again, so the larger estimate only makes the forecast doubtful.
  void LookAtRoom(std::uint64_t least_taken, std::uint64_t most_taken, std::uint64_t entries) {
    constexpr std::uint64_t kBlocksOfAMap = 64;  // the map itself takes at most one
    const std::string& path = request_.staging_dir_slash;
    const std::uint64_t most = Sum(Sum(most_taken, most_taken / kBlocksOfAMap),
                                   Product(forecast_.directories, room_.BlockSize()));
    if (least_taken > room_.FreeForUs()) {
      Fail(FindingKind::kNoSpace, path,
           {std::to_string(least_taken), std::to_string(room_.FreeForUs())});
    } else if (most > room_.FreeForAll()) {
      forecast_.is_doubtful = true;
      findings_.Add(FindingKind::kSpaceIsScarce, path,
                    {std::to_string(most), std::to_string(room_.FreeForAll())});
    }
    if (forecast_.free_entries && entries > *forecast_.free_entries) {
      Fail(FindingKind::kNoInodes, path,
           {std::to_string(entries), std::to_string(*forecast_.free_entries)});
    }
  }

  /// Does what AddUnseen does for a path that staging needs: it makes staging fail.
  bool IsUnseen(const std::string& path, int error) {
    const bool is_unseen = AddUnseen(path, error, Severity::kError, findings_);
    if (is_unseen) forecast_.fails = true;
    return is_unseen;
  }

  /// Returns the nearest existing entry on the way to `path`; empty if the system cannot even look
  /// at the root.
  InsPath NearestExisting(const std::string& path) {
    InsPath place(path.empty() || path.front() != '/' ? "./" + path : path);
    for (; !place.IsEmpty(); place = place.Parent()) {
      const PathState state = StateAt(place.Str());
      if (state.IsThere()) break;
      IsUnseen(place.Str(), state.error);
      if (StateOfEntry(place.Str()).IsLink()) {
        Fail(FindingKind::kTemporaryDirectoryDangling, place.Str());
      }
    }
    return place;
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
                        : FindingKind::kTemporaryDirectoryIsNoDirectory,
         given);
  }

  /// Checks the staging directory, and notes the directories above it: no copy may contain them.
  void LookAtTarget() {
    const InsPath place = NearestExisting(request_.staging_dir_slash);
    if (!forecast_.fails) LookWhetherItCanBeWritten(place);
    LookAtBackslash();
    if (!MayOverridePermissions() && (Umask() & (S_IWUSR | S_IXUSR)) != 0) {
      Fail(FindingKind::kUmaskClosesStaging, request_.staging_dir_slash, {OctalUmask()});
    }
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

  /// The launcher makes directories at the path with slashes in place of backslashes, but writes
  /// files at the path as it stands.
  void LookAtBackslash() {
    const std::string& path = request_.staging_dir_slash;
    const std::string given = path.substr(0, path.size() - NameOfStaging().size() - 2);
    if (given.find('\\') == std::string::npos) return;
    const PathState as_it_stands = StateAt(given), with_slashes = StateAt(InsPath(given).Str());
    IsUnseen(given, as_it_stands.error);
    if (as_it_stands.IsThere() && as_it_stands.identity == with_slashes.identity) return;
    Fail(FindingKind::kTemporaryDirectoryWithBackslash, given);
  }

  std::string OwnInst() const {
    return KVLInsIO::Join(request_.media_dir.Str(), names::kInst).Str();
  }

  /// Returns false if the directory cannot be listed. Staging copies it as an empty directory.
  bool IsListed(const std::string& directory) {
    const int error = WhyNotAllowed(directory, R_OK);
    return !IsUnseen(directory, error) && error == 0;
  }

  /// Returns the path of the entry of the media itself that an entry of the external installer
  /// media replaces; empty for an entry that replaces nothing.
  std::string OverlaidBy(const StagingCopy& copy) {
    if (request_.external_inst_slash.empty() || !IsListed(OwnInst())) return {};
    if (!copy.source.starts_with(request_.external_inst_slash + "/")) return {};
    return KVLInsIO::Join(request_.media_dir.Str(),
                          copy.destination.substr(request_.staging_dir_slash.size()))
        .Str();
  }

  /// Removes the doubled slash from the path of a directory of the external installer media.
  std::string InOneSlash(std::string source) const {
    const std::string& prefix = request_.external_inst_slash;
    if (!prefix.empty() && source.starts_with(prefix + "/")) source.erase(prefix.size(), 1);
    return source;
  }

  Totals Top(const StagingCopy& copy) {
    const int error = StateOfEntry(copy.source).error;
    if (error == 0) {
      const Totals totals = Entry(InOneSlash(copy.source), OverlaidBy(copy));
      LookAtLengths(copy, totals);
      return totals;
    }
    const std::string source = InsPath(copy.source).Str();
    if (!IsUnseen(source, error)) Fail(FindingKind::kStagingSourceMissing, source);
    return {};
  }

  /// Checks lengths: files use the destination as it stands, directories use its clean form.
  void LookAtLengths(const StagingCopy& copy, const Totals& totals) {
    const std::size_t longer = Difference(kLengthOfIdentifier, NameOfStaging().size());
    const std::string& destination = copy.destination;
    if (IsTooLong(destination.size() + longer, totals.way_to_file) ||
        IsTooLong(InsPath(destination).Str().size() + longer, totals.way_to_directory)) {
      Fail(FindingKind::kStagedPathTooLong, copy.source);
    }
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
    const PathState before = LookAtOverlaid(path, overlaid, /*with_directory=*/false);
    const std::uint64_t taken = room_.Taken(state.size), taken_before = room_.Taken(before.size);
    return {.files = before.IsFile() ? 0U : 1U,
            .bytes = state.size,
            .taken = taken,
            .replaced_bytes = before.size,
            .replaced_taken = taken_before,
            .saved_taken = std::min(taken, taken_before),
            .way_to_file = 0};
  }

  void SayWhyItCannotBeCopied(const std::string& path, int error) {
    if (IsUnseen(path, error)) return;
    Fail(error == ELOOP                 ? FindingKind::kTooManyLinks
         : error == ENAMETOOLONG        ? FindingKind::kPathTooLong
         : StateOfEntry(path).IsThere() ? FindingKind::kDanglingLink
                                        : FindingKind::kClosedWay,
         path);
  }

  /// Adds a finding if the staged entry is of another kind or read-only. Returns its state.
  PathState LookAtOverlaid(const std::string& path, const std::string& overlaid,
                           bool with_directory) {
    if (overlaid.empty()) return {.error = ENOENT};
    const PathState state = StateAt(overlaid);
    if (!state.IsThere()) {
      IsUnseen(overlaid, state.error);
    } else if (state.IsDirectory() != with_directory) {
      Fail(with_directory ? FindingKind::kDirectoryOverFile : FindingKind::kFileOverDirectory,
           path);
    } else if (!with_directory && (state.mode & S_IWUSR) == 0) {
      const bool fails = !MayOverridePermissions();
      if (fails) forecast_.fails = true;
      findings_.Add(FindingKind::kReadOnlyOverwritten,
                    fails ? Severity::kError : Severity::kWarning, overlaid);
    }
    return state;
  }

  Totals Directory(const std::string& path, const FileIdentity& identity,
                   const std::string& overlaid) {
    const PathState before = LookAtOverlaid(path, overlaid, /*with_directory=*/true);
    const bool is_laid_over = before.IsDirectory();
    const bool has_below = is_laid_over && IsListed(overlaid);
    if (above_target_.contains(identity)) {
      Fail(FindingKind::kStagingIntoItself, path);
      return {};
    }
    if (on_the_way_.contains(identity)) {
      Fail(FindingKind::kLinkCycle, path);
      return {};
    }
    const auto key = std::make_pair(identity, is_laid_over ? before.identity : FileIdentity());
    if (const auto known = done_.find(key); known != done_.end()) {
      if (IsTooLong(path.size(), known->second.LongestWay())) Fail(FindingKind::kPathTooLong, path);
      return known->second;
    }

    const DirectoryNames list = SortedNamesIn(path);
    if (list.error != 0 && !IsUnseen(path, list.error)) {
      findings_.Add(FindingKind::kDirectoryNotListable, Severity::kWarning, path);
    }
    on_the_way_.insert(identity);
    Totals totals = {.directories = is_laid_over ? 0U : 1U, .way_to_directory = 0};
    for (const std::string& name : list.names) {
      const std::string below = has_below ? PathBelow(overlaid, name) : "";
      totals.AddBelow(name, Entry(PathBelow(path, name), below));
    }
    on_the_way_.erase(identity);
    done_[key] = totals;
    return totals;
  }

  /// Collects the names of the files. Callers know that the tree is finite and not too large.
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
  const FreeRoom room_;
  StagingForecast forecast_;
  std::set<FileIdentity> above_target_;
  std::set<FileIdentity> on_the_way_;
  std::map<std::pair<FileIdentity, FileIdentity>, Totals> done_;  // by source and overlaid
};

}  // namespace

StagingForecast ForecastStaging(const StagingRequest& request, Findings& findings) {
  return StagingSurvey(request, findings).Run();
}

}  // namespace kvl
