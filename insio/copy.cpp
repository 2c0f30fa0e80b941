#include "insio/copy.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <utility>

#include "insio/create_dir.h"
#include "insio/create_new_dir.h"
#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"
#include "insio/file_attributes.h"
#include "insio/file_descriptor.h"
#include "insio/finder.h"
#include "insio/path.h"
#include "insio/path_text.h"
#include "insio/tree_level.h"

namespace KVLInsIO {

using internal::CreateNewDirExactly;
using internal::FileDescriptor;
using internal::FileIdentity;
using internal::Identify;
using internal::kReadWithoutWaiting;
using internal::TreeLevel;

namespace {

constexpr mode_t kPermissionBits = 0777;
constexpr int kWriteWithoutWaiting = O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY;

bool IsSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
         left.st_size == right.st_size && left.st_mtime == right.st_mtime;
}

[[noreturn]] void RefuseToCopy(const std::string& source) {
  throw KVLInsException("Cannot copy " + source + " to itself.");
}

/// Returns true for pipes and devices: reading them may wait or go on for ever.
bool MayNeverEnd(mode_t mode) {
  return S_ISFIFO(mode) || S_ISCHR(mode) || S_ISBLK(mode);
}

/// Copies all bytes. Returns 0 or the error's number. Treats a partial write as a full disk, so
/// that nobody takes a cut-off file for a whole one. Never inlined: otherwise every frame of the
/// recursion through a tree would hold the buffer.
[[gnu::noinline]] int CopyBytes(const FileDescriptor& from, const FileDescriptor& to) {
  constexpr std::size_t kBufferSize = 65536;
  std::array<char, kBufferSize>
      buffer;  // not cleared: the loop fills each byte before it writes it
  for (;;) {
    const ssize_t length = ::read(from.Number(), buffer.data(), buffer.size());
    if (length == 0) return 0;
    if (length < 0) return errno;
    const ssize_t written = ::write(to.Number(), buffer.data(), static_cast<std::size_t>(length));
    if (written < 0) return errno;
    if (written < length) return ENOSPC;
  }
}

void CopyContents(const FileDescriptor& from, const std::string& destination,
                  mode_t new_file_mode) {
  FileDescriptor to(destination, kWriteWithoutWaiting, new_file_mode);
  internal::ThrowUnless<KVLInsException>(to.IsOpen(), "Cannot write into ", destination);
  int error = CopyBytes(from, to);
  if (!to.Close() && error == 0) error = errno;  // a network file system may fail as late as here
  if (error != 0) throw KVLInsExceptionErrno("Cannot write into " + destination, error);
}

/// Copies one file into a directory that exists. Looks at the open source, so that nobody can
/// replace it between look and copy; uses the path only if the source cannot be opened.
void CopyFileOnly(const std::string& source, const std::string& destination) {
  const FileDescriptor file(source, kReadWithoutWaiting);
  const int opening_error = file.IsOpen() ? 0 : errno;
  struct stat from;
  const int looked = file.IsOpen() ? ::fstat(file.Number(), &from) : ::stat(source.c_str(), &from);
  internal::ThrowUnless<KVLInsExceptionErrno>(looked == 0, "Cannot stat ", source);
  struct stat to;
  const bool exists = ::stat(destination.c_str(), &to) == 0;
  if (exists && IsSameFile(from, to)) RefuseToCopy(source);
  if (MayNeverEnd(from.st_mode)) throw KVLInsException("Cannot read " + source, EOPNOTSUPP);
  if (exists && S_ISFIFO(to.st_mode)) {  // opening it would wait for a reader
    throw KVLInsException("Cannot write into " + destination, EOPNOTSUPP);
  }
  if (opening_error != 0) throw KVLInsException("Cannot read " + source, opening_error);
  CopyContents(file, destination, from.st_mode & kPermissionBits);
  if (from.st_atime != 0) SetTime(destination, from.st_atime, from.st_mtime);
}

/// Returns the directory that contains, or would contain, the entry at `path`; or the nearest
/// existing directory on the way there.
std::string HoldingDirectory(const std::string& path) {
  std::string place = path.starts_with(kPathSeparator) ? "/" : ".";
  int missing = 0;  // how many directories below `place` do not exist
  for (std::size_t begin = 0, end = 0; begin < path.size(); begin = end + 1) {
    end = std::min(path.find(kPathSeparator, begin), path.size());
    const std::string_view name = std::string_view(path).substr(begin, end - begin);
    if (name.empty() || name == ".") continue;
    if (missing > 0) {
      missing += name == ".." ? -1 : 1;
      continue;
    }
    const std::size_t length = place.size();
    place.append(kPathSeparator).append(name);
    if (!Exists(place + "/.")) {
      place.resize(length);
      missing = 1;
    }
  }
  return missing > 0 ? place : place + "/..";
}

/// Returns true if the entry that is, or would be, at `path` lies inside `directory`, through links
/// or not.
bool LiesInside(const std::string& path, const std::string& directory) {
  FileIdentity wanted, here, above;
  if (!Identify(directory, wanted)) return false;
  // Goes up step by step: a path of many ".." may be too long, and the working directory may have
  // no path at all.
  FileDescriptor place(HoldingDirectory(path), O_PATH | O_DIRECTORY);
  // The root directory is its own parent, but file systems that invent inode numbers hide that.
  constexpr int kMostAbove = 100'000;
  for (int count = 0; count < kMostAbove && Identify(place, here); ++count) {
    if (here == wanted) return true;
    FileDescriptor parent(place, "..", O_PATH | O_DIRECTORY);
    if (Identify(parent, above) && above == here) break;  // the root directory
    place = std::move(parent);
  }
  return false;
}

/// What exists where a directory will be copied to.
enum class Place { kNothing, kLink, kOther };

Place LookAt(const std::string& path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? Place::kNothing : Place::kOther;
  }
  return S_ISLNK(status.st_mode) ? Place::kLink : Place::kOther;
}

/// Creates the directory that contains `path`, and its ancestors. Normalises the whole path.
void MakeParentOf(const std::string& path) {
  const InsPath parent = InsPath(path).Parent();
  if (!parent.IsEmpty()) CreateDir(parent.Str());
}

/// A directory to copy into. It is created, with its ancestors, for its first file.
class Target {
 public:
  /// Writes entries below `path` as it stands. Creates the directory, and names it in messages, as
  /// `made_as`, the same path with normalised slashes.
  Target(std::string path, std::string made_as)
      : path_(std::move(path)),
        made_as_(std::move(made_as)),
        may_be_quoted_(path_.starts_with('"') || path_.starts_with('\'')) {}

  std::string PathOf(const std::string& name) const {
    return std::string(path_).append(kPathSeparator).append(name);
  }

  /// Returns what exists under a name. Does not ask the system about a new directory.
  Place At(const std::string& name) const {
    return is_known_empty_ ? Place::kNothing : LookAt(PathOf(name));
  }

  /// Returns the directory `name` in this one. This one must outlive it. `there` is the answer of
  /// At.
  Target Below(const std::string& name, Place there) {
    const bool is_root = made_as_ == kPathSeparator;
    Target below(PathOf(name), (is_root ? "" : made_as_) + std::string(kPathSeparator) + name);
    below.above_ = this;
    below.is_known_empty_ = there == Place::kNothing;
    return below;
  }

  /// Creates the directory for an entry. Normalising drops quotes around the entry's whole path,
  /// and then that is another directory than this one.
  void MakeFor(const std::string& name) {
    if (may_be_quoted_) {
      MakeParentOf(PathOf(name));
    } else {
      Make();
    }
  }

  /// Creates this directory and those above it.
  void Make() {
    if (is_made_) return;
    if (may_be_quoted_) {
      CreateDir(path_);
    } else {
      if (above_ != nullptr) above_->TryToMake();
      is_known_empty_ = CreateNewDirExactly(made_as_);
      if (!is_known_empty_) CreateDirExactly(made_as_);
    }
    is_made_ = true;
  }

 private:
  /// Ignores a failure: then the directory below cannot be made either, and its failure is
  /// reported.
  void TryToMake() {
    try {
      Make();
    } catch (const std::exception&) {
      return;
    }
  }

  std::string path_;
  std::string made_as_;
  bool may_be_quoted_;
  Target* above_ = nullptr;
  bool is_made_ = false;
  bool is_known_empty_ = false;  // has no entries, whether it exists or not
};

/// Copies the entries of the level's directory into `target`. Creates `target` even if there are
/// none.
void CopyEntries(TreeLevel& level, Target target) {
  InsFileFinder& entries = level.Entries();
  const bool is_empty = entries.AtEnd();
  for (; !entries.AtEnd(); FindNextFile(entries)) {
    const std::string& source = entries.FullPath();
    const std::string destination = target.PathOf(entries.Name());
    if (!entries.IsDirectory()) {
      target.MakeFor(entries.Name());
      CopyFileOnly(source, destination);
      continue;
    }
    // Below the top, only a link on either side can lead the target into its own source.
    const Place there = target.At(entries.Name());
    const bool may_lie_inside = entries.Type() == kLinkToDirectory || there == Place::kLink;
    if (level.EntryLeadsBack() || (may_lie_inside && LiesInside(destination, source))) {
      RefuseToCopy(source);
    }
    TreeLevel below = TreeLevel::Below(level);
    CopyEntries(below, target.Below(entries.Name(), there));
  }
  entries.ThrowIfCutShort();
  if (is_empty) target.Make();
}

}  // namespace

void Copy(const std::string& source, const std::string& destination) {
  if (source.empty()) throw KVLInsException("Copy - empty source path");
  if (destination.empty()) throw KVLInsException("Copy - empty destination path");
  if (IsDirectory(source)) {
    CopyDir(source, destination);
  } else {
    CopyFile(source, destination);
  }
}

void CopyFile(const std::string& source, const std::string& destination) {
  MakeParentOf(destination);
  CopyFileOnly(source, destination);
}

void CopyDir(const std::string& source, const std::string& destination) {
  TreeLevel top = TreeLevel::Top(source);
  // The parent of the copied entries; for an empty destination, the root directory.
  const std::string place = Join(destination, "entry").Parent().Str();
  const bool lies_inside_by_its_own_path = !destination.empty() && LiesInside(destination, source);
  if (lies_inside_by_its_own_path || LiesInside(place, source)) RefuseToCopy(source);
  if (top.Entries().AtEnd()) {
    top.Entries().ThrowIfCutShort();
    CreateDir(destination);
    return;
  }
  CopyEntries(top, Target(destination, place));
}

}  // namespace KVLInsIO
