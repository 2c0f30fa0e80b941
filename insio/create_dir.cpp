#include "insio/create_dir.h"

#include <errno.h>
#include <sys/stat.h>

#include <algorithm>

#include "insio/exceptions.h"
#include "insio/path.h"
#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

constexpr mode_t kDirectoryMode = 0755;

/// As InsPath::FileName() has it, without normalising: of an absolute path's only name, the first
/// character does not count.
bool IsNamedDot(const std::string& path) {
  if (path == "." || path.ends_with("/.")) return true;
  return path.size() == 3 && path.front() == '/' && path.back() == '.';
}

/// Makes one directory whose ancestors have been dealt with. Returns 0 or the error's number.
int MakeOne(const std::string& path) {
  if (IsNamedDot(path)) return 0;
  if (::mkdir(path.c_str(), kDirectoryMode) == 0) return 0;
  return errno == EEXIST ? 0 : errno;  // somebody else may have made it meanwhile
}

/// The path up to its last component; empty when there is none, and for the root.
std::string ParentOf(const std::string& path) {
  const std::size_t last_slash = path.rfind(kPathSeparator);
  if (last_slash == std::string::npos || path.size() == 1) return {};
  return last_slash == 0 ? path.substr(0, 1) : path.substr(0, last_slash);
}

/// Makes every directory on the way from `existing`, an ancestor or nothing, to `wanted`. Returns
/// the outcome of the last one; that an ancestor failed shows there.
int MakeAllBelow(const std::string& existing, const std::string& wanted) {
  int error = 0;
  for (std::size_t end = existing.size(); end < wanted.size();) {
    end = std::min(wanted.find(kPathSeparator, end + 1), wanted.size());
    error = MakeOne(wanted.substr(0, end));
  }
  return error;
}

}  // namespace

void CreateDir(const std::string& path) {
  CreateDirExactly(InsPath(path).Str());
}

void CreateDirExactly(const std::string& path) {
  if (path.empty()) throw KVLInsException("CreateDir - empty path");
  struct stat status;
  if (::stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return;
    throw KVLInsException("CreateDir - " + path + " is not a directory.");
  }

  std::string existing = ParentOf(path);
  while (!existing.empty() && ::stat(existing.c_str(), &status) != 0) existing = ParentOf(existing);
  const int error = MakeAllBelow(existing, path);
  if (error != 0) throw KVLInsException("mkdir - " + path, error);
}

bool CreateNewDirExactly(const std::string& path) {
  return ::mkdir(path.c_str(), kDirectoryMode) == 0;
}

}  // namespace KVLInsIO
