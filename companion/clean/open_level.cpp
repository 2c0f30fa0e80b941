#include "companion/clean/open_level.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "companion/names/path_below.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"

namespace kvl {
namespace {

using KVLInsIO::KVLInsException;
using KVLInsIO::internal::ThrowUnless;

constexpr int kToList = O_RDONLY | O_DIRECTORY | O_NONBLOCK;

struct ListCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

}  // namespace

OpenLevel::OpenLevel(const std::string& path) : path_(path), file_(path, kToList) {
  ThrowUnless<KVLInsException>(file_.IsOpen(), "opendir - ", path_);
}

OpenLevel::OpenLevel(const OpenLevel& above, const std::string& name)
    : path_(above.PathOf(name)), file_(above.file_, name, kToList | O_NOFOLLOW) {
  ThrowUnless<KVLInsException>(file_.IsOpen(), "opendir - ", path_);
}

std::string OpenLevel::PathOf(const std::string& name) const {
  return path_.ends_with('/') ? path_ + name : PathBelow(path_, name);
}

std::vector<std::string> OpenLevel::Names() const {
  const int number = ::openat(file_.Number(), ".", kToList | O_CLOEXEC);
  const std::unique_ptr<DIR, ListCloser> stream(number < 0 ? nullptr : ::fdopendir(number));
  ThrowUnless<KVLInsException>(stream != nullptr, "readdir - ", path_);
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  ThrowUnless<KVLInsException>(errno == 0, "readdir - ", path_);
  std::sort(names.begin(), names.end());
  return names;
}

struct stat OpenLevel::Look(const std::string& name) const {
  struct stat status;
  const int looked = ::fstatat(file_.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
  ThrowUnless<KVLInsException>(looked == 0, "lstat - ", PathOf(name));
  return status;
}

void OpenLevel::Unlink(const std::string& name) const {
  const int removed = ::unlinkat(file_.Number(), name.c_str(), /*flags=*/0);
  ThrowUnless<KVLInsException>(removed == 0, "unlink - ", PathOf(name));
}

void OpenLevel::RemoveDirectory(const std::string& name) const {
  const int removed = ::unlinkat(file_.Number(), name.c_str(), AT_REMOVEDIR);
  ThrowUnless<KVLInsException>(removed == 0, "rmdir - ", PathOf(name));
}

}  // namespace kvl
