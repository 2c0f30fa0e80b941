#include "insio/entry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "insio/entry_at.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"

namespace KVLInsIO {

bool Exists(const std::string& path) {
  return !path.empty() && ::access(path.c_str(), F_OK) == 0;
}

bool IsRegularFile(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsPipe(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

EntryType GetType(const std::string& path) {
  if (path.empty()) throw KVLInsException("GetType - empty path");
  return internal::GetTypeAt(AT_FDCWD, path.c_str(), path);
}

EntryType internal::GetTypeAt(int directory, const char* name, const std::string& path) {
  struct stat status;
  internal::ThrowUnless<KVLInsException>(
      ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0, "lstat - ", path);
  if (S_ISDIR(status.st_mode)) return kDirectory;
  if (!S_ISLNK(status.st_mode)) return kFile;
  // Uses the path, as opening the entry does: the system follows only so many links in one path.
  const bool leads_to_directory = ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  return leads_to_directory ? kLinkToDirectory : kLinkToFile;
}

bool IsFile(const std::string& path) {
  return (GetType(path) & kFile) != 0;
}

bool IsDirectory(const std::string& path) {
  return (GetType(path) & kDirectory) != 0;
}

}  // namespace KVLInsIO
