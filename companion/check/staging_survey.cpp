#include "companion/check/staging_survey.h"

#include <errno.h>
#include <sys/stat.h>
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
#include "insio/file_attributes.h"
#include "insio/path.h"
#include "insio/tree_level.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;
using KVLInsIO::internal::FileIdentity;

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

class Survey {
 public:
  Survey(const StagingRequest& request, Findings& findings)
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
      Fail("no-space", request_.staging_dir_slash,
           "staging needs " + std::to_string(totals.bytes) + " bytes, and " +
               std::to_string(forecast_.free_bytes) + " are free",
           "make room there, or let TMPDIR name another directory");
    }
    const std::uint64_t entries = Sum(totals.files, totals.directories);
    if (!forecast_.fails && entries <= StagingForecast::kMostEntries) {
      std::set<std::string> names;
      for (const StagingCopy& copy : copies) List(copy.source, copy.destination, names);
      forecast_.names.assign(names.begin(), names.end());
    }
    return std::move(forecast_);
  }

 private:
  void Fail(const char* code, const std::string& path, const std::string& text,
            const std::string& remedy) {
    forecast_.fails = true;
    findings_.Add({code, Severity::kError, path, text, remedy});
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
    struct stat status;
    while (!place.IsEmpty() && ::stat(place.Str().c_str(), &status) != 0) {
      IsUnseen(place.Str(), errno);
      place = place.Parent();
    }
    return place.IsEmpty() ? InsPath(".") : place;
  }

  void LookWhetherItCanBeWritten(const InsPath& place) {
    struct stat status;
    const bool is_directory = ::stat(place.Str().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    const int error = WhyNotAllowed(place.Str(), W_OK | X_OK);
    const bool is_unseen = error != EROFS && IsUnseen(place.Str(), error);
    if (is_unseen || (is_directory && error == 0)) return;
    const std::string given = InsPath(request_.staging_dir_slash).Parent().Str();
    const bool is_there = ::stat(given.c_str(), &status) == 0;
    Fail("temporary-directory-not-writable", given,
         !is_there      ? "the temporary directory is missing and cannot be made"
         : is_directory ? "you cannot write into the temporary directory"
                        : "the temporary directory is none",
         "let TMPDIR name a directory that you can write into");
  }

  /// The staging directory itself, and the directories above it that a copy must not contain.
  void LookAtTarget() {
    const InsPath place = NearestExisting(request_.staging_dir_slash);
    LookWhetherItCanBeWritten(place);
    FileIdentity identity;
    std::error_code error;
    std::filesystem::path real = std::filesystem::canonical(place.Str(), error);
    IsUnseen(place.Str(), error.value());
    if (error) return;
    for (;; real = real.parent_path()) {
      if (KVLInsIO::internal::Identify(real, identity)) {
        above_target_.insert(identity);
      } else {
        IsUnseen(real, errno);
      }
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
    struct stat status;
    if (::lstat(copy.source.c_str(), &status) != 0) {
      if (IsUnseen(InsPath(copy.source).Str(), errno)) return {};
      Fail("staging-source-missing", InsPath(copy.source).Str(),
           "it is needed to stage the installer, and is not there", "put it there");
      return {};
    }
    return Entry(InOneSlash(copy.source), OverlaidBy(copy));
  }

  Totals Entry(const std::string& path, const std::string& overlaid) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
      SayWhyItCannotBeCopied(path, errno);
      return {};
    }
    if (S_ISDIR(status.st_mode)) return Directory(path, {status.st_dev, status.st_ino}, overlaid);
    if (AddSpecialFile(path, status.st_mode, Severity::kError, findings_)) {
      forecast_.fails = true;
      return {};
    }
    const int error = WhyNotAllowed(path, R_OK);
    if (error != 0 && !IsUnseen(path, error)) {
      forecast_.fails = true;
      AddClosedFile(path, Severity::kError, findings_);
    }
    LookAtOverlaid(path, overlaid, /*with_directory=*/false);
    return {1, 0, static_cast<std::uint64_t>(status.st_size)};
  }

  void SayWhyItCannotBeCopied(const std::string& path, int error) {
    if (IsUnseen(path, error)) return;
    forecast_.fails = true;
    struct stat link;
    if (error == ELOOP) {
      AddTooManyLinks(path, Severity::kError, findings_);
    } else if (::lstat(path.c_str(), &link) == 0) {
      AddDanglingLink(path, Severity::kError, findings_);
    } else {
      Fail("unreadable", path, "you cannot read it", "give the directories above it permission x");
    }
  }

  /// What is staged already stands in the way when it is of another kind, or may not be written.
  void LookAtOverlaid(const std::string& path, const std::string& overlaid, bool with_directory) {
    struct stat status;
    if (overlaid.empty()) return;
    if (::stat(overlaid.c_str(), &status) != 0) {
      IsUnseen(overlaid, errno);
      return;
    }
    if (S_ISDIR(status.st_mode) != with_directory) {
      Fail("overlay-of-another-kind", path,
           with_directory ? "a directory, and in the media a file has its name"
                          : "a file, and in the media a directory has its name",
           "rename one of the two");
      return;
    }
    if (with_directory || (status.st_mode & S_IWUSR) != 0) return;
    const bool fails = ::geteuid() != 0;  // only the superuser writes into it all the same
    if (fails) forecast_.fails = true;
    findings_.Add({"read-only-overwritten", fails ? Severity::kError : Severity::kWarning, overlaid,
                   "a read-only file that the external installer media has to overwrite",
                   "give it write permission for its owner (chmod u+w)"});
  }

  Totals Directory(const std::string& path, const FileIdentity& identity,
                   const std::string& overlaid) {
    LookAtOverlaid(path, overlaid, /*with_directory=*/true);
    if (above_target_.contains(identity)) {
      Fail("staging-into-itself", path, "the temporary directory lies inside of what is copied",
           "let TMPDIR name a directory outside the media");
      return {};
    }
    if (on_the_way_.contains(identity)) {
      forecast_.fails = true;
      AddLinkCycle(path, Severity::kError, findings_);
      return {};
    }
    if (const auto known = done_.find(identity); known != done_.end()) return known->second;

    const DirectoryNames list = SortedNamesIn(path);
    if (list.error != 0 && !IsUnseen(path, list.error)) AddUnlistable(path, findings_);
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
    struct stat status;
    if (::stat(source.c_str(), &status) != 0) {
      IsUnseen(source, errno);
      return;
    }
    if (!S_ISDIR(status.st_mode)) {
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
  return Survey(request, findings).Run();
}

}  // namespace kvl
