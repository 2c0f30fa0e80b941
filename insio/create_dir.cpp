#include "insio/create_dir.h"

#include <errno.h>
#include <limits.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "insio/create_new_dir.h"
#include "insio/exceptions.h"
#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

constexpr mode_t kDirectoryMode = 0755;

/// Returns true if InsPath::FileName() would give ".", but does not normalise. If an absolute path
/// has only one name, the first character of that name does not count.
bool IsNamedDot(const std::string& path) {
  if (path == "." || path.ends_with("/.")) return true;
  return path.size() == 3 && path.front() == '/' && path.back() == '.';
}

/// Creates one directory, after its ancestors. Returns 0 or the error's number.
int MakeOne(const std::string& path) {
  if (IsNamedDot(path)) return 0;
  if (::mkdir(path.c_str(), kDirectoryMode) == 0) return 0;
  return errno == EEXIST ? 0 : errno;  // somebody else may have made it meanwhile
}

/// Returns the path without its last component; the empty text for a single name and for the root.
std::string ParentOf(std::string path) {
  const std::size_t last_slash = path.rfind(kPathSeparator);
  const bool has_parent = last_slash != std::string::npos && path.size() > 1;
  path.resize(has_parent ? std::max<std::size_t>(last_slash, 1) : 0);
  return path;
}

/// Like ParentOf, but normalises the result: only enclosing quotes can be left to drop.
std::string NormalisedParentOf(std::string path) {
  path = ParentOf(std::move(path));
  const bool begins_with_quote = path.starts_with('"') || path.starts_with('\'');
  return begins_with_quote && path.front() == path.back() ? NormalizeString(std::move(path)) : path;
}

using ToParent = std::string (*)(std::string path);

/// Returns true for a directory, false if stat finds nothing. Throws if something else exists.
bool IsThere(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return false;
  if (S_ISDIR(status.st_mode)) return true;
  throw KVLInsException("CreateDir - " + path + " is not a directory.");
}

/// Returns the missing ancestors, the nearest first, except those whose paths are too long for the
/// system.
std::vector<std::string> MissingAncestors(const std::string& path, ToParent parent_of) {
  std::vector<std::string> missing;
  struct stat status;
  for (std::string above = parent_of(path); !above.empty(); above = parent_of(std::move(above))) {
    if (above.size() >= PATH_MAX) continue;
    if (::stat(above.c_str(), &status) == 0) break;
    missing.push_back(above);
  }
  return missing;
}

/// Uses no recursion: a path may have more names than the stack has room for.
void Create(const std::string& path, ToParent parent_of) {
  if (path.empty()) throw KVLInsException("CreateDir - empty path");
  if (IsThere(path)) return;
  const std::vector<std::string> missing = MissingAncestors(path, parent_of);
  std::for_each(missing.rbegin(), missing.rend(), MakeOne);  // a failure makes what follows fail
  const int error = MakeOne(path);
  if (error != 0) throw KVLInsException("mkdir - " + path, error);
}

}  // namespace

void CreateDir(const std::string& path) {
  Create(NormalizeString(path), NormalisedParentOf);
}

void CreateDirExactly(const std::string& path) {
  Create(path, ParentOf);
}

bool internal::CreateNewDirExactly(const std::string& path) {
  return !IsNamedDot(path) && ::mkdir(path.c_str(), kDirectoryMode) == 0;
}

}  // namespace KVLInsIO
