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

/// Makes one directory whose ancestors have been dealt with. Returns 0 or the error's number.
int MakeOne(const std::string& path) {
  // The first look only spares long paths the second.
  if (path.ends_with('.') && InsPath(path).FileName() == ".") return 0;
  if (::mkdir(path.c_str(), kDirectoryMode) == 0) return 0;
  return errno == EEXIST ? 0 : errno;  // somebody else may have made it meanwhile
}

/// Makes every directory on the way from `existing`, an ancestor or nothing, to `wanted`. Returns
/// the outcome of the last one; that an ancestor failed shows there.
int MakeAllBelow(const InsPath& existing, const InsPath& wanted) {
  const std::string& path = wanted.Str();
  int error = 0;
  for (std::size_t end = existing.Str().size(); end < path.size();) {
    end = std::min(path.find(kPathSeparator, end + 1), path.size());
    error = MakeOne(path.substr(0, end));
  }
  return error;
}

}  // namespace

void CreateDir(const std::string& path) {
  const InsPath wanted(path);
  if (wanted.IsEmpty()) throw KVLInsException("CreateDir - empty path");

  struct stat status;
  if (::stat(wanted.Str().c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return;
    throw KVLInsException("CreateDir - " + wanted.Str() + " is not a directory.");
  }

  InsPath existing = wanted.Parent();
  while (!existing.IsEmpty() && ::stat(existing.Str().c_str(), &status) != 0) {
    existing = existing.Parent();
  }
  const int error = MakeAllBelow(existing, wanted);
  if (error != 0) throw KVLInsException("mkdir - " + wanted.Str(), error);
}

void CreateOneDir(const std::string& path) {
  if (::mkdir(path.c_str(), kDirectoryMode) == 0) return;
  const int error = errno;
  if (error != EEXIST) throw KVLInsException("mkdir - " + path, error);
  struct stat status;
  if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return;
  throw KVLInsException("CreateDir - " + path + " is not a directory.");
}

}  // namespace KVLInsIO
