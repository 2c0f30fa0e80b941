#include "insio/delete.h"

#include <errno.h>
#include <unistd.h>

#include <exception>
#include <set>

#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"
#include "insio/finder.h"
#include "insio/tree_level.h"

namespace KVLInsIO {

using internal::FileIdentity;
using internal::Identify;
using internal::TreeLevel;

namespace {

void Unlink(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return;
  const int error = errno;
  static_cast<void>(
      GetType(path));  // throws if the path leads nowhere any more, as it can with ".." in it
  throw KVLInsException("unlink - " + path, error);
}

void RemoveDirectory(const std::string& path) {
  internal::ThrowUnless<KVLInsException>(::rmdir(path.c_str()) == 0, "rmdir - ", path);
}

void DeleteEntries(TreeLevel level) {
  InsFileFinder& entries = level.Entries();
  for (; !entries.AtEnd(); FindNextFile(entries)) {
    if (entries.Type() == kDirectory) {
      DeleteEntries(TreeLevel::Below(level));
      RemoveDirectory(entries.FullPath());
    } else {
      Unlink(entries.FullPath());
    }
  }
  entries.ThrowIfCutShort();
}

/// Does the work of DeleteEmptyTree.
class EmptyTreeDeletion {
 public:
  /// Removes the entries that lead only to directories. Returns true if all entries are gone.
  bool DeleteEntries(TreeLevel level);

 private:
  /// Does the same for the current entry, which is a directory or a link to one.
  bool DeleteEntry(TreeLevel& level);

  // The targets of links that stay. Without this set, two links in each of many directories would
  // double the work with each level.
  std::set<FileIdentity> kept_;
};

bool EmptyTreeDeletion::DeleteEntries(TreeLevel level) {
  bool all_gone = true;
  InsFileFinder& entries = level.Entries();
  for (; !entries.AtEnd(); FindNextFile(entries)) {
    if (entries.IsFile() || !DeleteEntry(level)) all_gone = false;
  }
  entries.ThrowIfCutShort();
  return all_gone;
}

bool EmptyTreeDeletion::DeleteEntry(TreeLevel& level) {
  const std::string& path = level.Entries().FullPath();
  FileIdentity target;
  const bool is_link = level.Entries().Type() == kLinkToDirectory && Identify(path, target);
  // A circle of links ends at a link that the system follows no further; that one counts as a file.
  if ((is_link && kept_.contains(target)) || level.EntryLeadsBack()) return false;
  try {
    if (DeleteEntries(TreeLevel::Below(level))) {
      Delete(path);
      return true;
    }
  } catch (const std::exception&) {
    // the caller asked only whether the tree is gone
  }
  if (is_link) kept_.insert(target);
  return false;
}

}  // namespace

void Delete(const std::string& path) {
  if (path.empty()) throw KVLInsException("Delete - empty path");
  EntryType type = kNoEntry;
  try {
    type = GetType(path);
  } catch (const std::exception&) {
    return;  // nothing there to remove
  }
  if (type == kDirectory) {
    DeleteEntries(TreeLevel::Top(path));
    RemoveDirectory(path);
  } else {
    Unlink(path);
  }
}

void DeleteContents(const std::string& directory) {
  DeleteEntries(TreeLevel::Top(directory));
}

bool DeleteEmptyTree(const std::string& path) {
  try {
    if (!EmptyTreeDeletion().DeleteEntries(TreeLevel::Top(path))) return false;
    Delete(path);
    return true;
  } catch (const std::exception&) {
    return false;  // the caller asked only whether the tree is gone
  }
}

}  // namespace KVLInsIO
