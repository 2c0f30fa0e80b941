#include "insio/delete.h"

#include <errno.h>
#include <unistd.h>

#include <exception>

#include "insio/exceptions.h"
#include "insio/finder.h"

namespace KVLInsIO {
namespace {

void DeleteEntry(const std::string& path, EntryType type) {
  if (type == kDirectory) {
    DeleteContents(path);
    if (::rmdir(path.c_str()) != 0) {
      const int error = errno;
      throw KVLInsException("rmdir - " + path, error);
    }
  } else if (::unlink(path.c_str()) != 0) {
    const int error = errno;
    throw KVLInsException("unlink - " + path, error);
  }
}

/// Removes the directories without a file below `path`. True when no file was met.
bool DeleteEmptyBranches(const std::string& path) {
  bool only_directories = true;
  InsFileFinder finder = FindFirstFile(path, kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    if (finder.IsFile() || !DeleteEmptyTree(finder.FullPath())) only_directories = false;
  }
  finder.ThrowIfCutShort();
  return only_directories;
}

}  // namespace

void Delete(const std::string& path) {
  if (path.empty()) throw KVLInsException("Delete - empty path");
  EntryType type = kNoEntry;
  try {
    type = GetType(path);
  } catch (const std::exception&) {
    return;  // nothing there, so there is nothing to do
  }
  DeleteEntry(path, type);
}

void DeleteContents(const std::string& directory) {
  InsFileFinder finder = FindFirstFile(directory, kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) DeleteEntry(finder.FullPath(), finder.Type());
  finder.ThrowIfCutShort();
}

bool DeleteEmptyTree(const std::string& path) {
  try {
    if (!DeleteEmptyBranches(path)) return false;
    Delete(path);
    return true;
  } catch (const std::exception&) {
    return false;  // the caller asked only whether the tree is gone
  }
}

}  // namespace KVLInsIO
