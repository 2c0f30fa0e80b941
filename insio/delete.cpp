#include "insio/delete.h"

#include <errno.h>
#include <unistd.h>

#include <exception>
#include <set>
#include <utility>
#include <vector>

#include "insio/exceptions.h"
#include "insio/finder.h"
#include "insio/tree_level.h"

namespace KVLInsIO {
namespace {

void Unlink(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return;
  const int error = errno;
  throw KVLInsException("unlink - " + path, error);
}

void RemoveDirectory(const std::string& path) {
  if (::rmdir(path.c_str()) == 0) return;
  const int error = errno;
  throw KVLInsException("rmdir - " + path, error);
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

/// The walk of DeleteEmptyTree. It follows links, but never into a directory that it is inside of.
class EmptyTreeDeletion {
 public:
  /// Removes the entries through which nothing but directories can be reached. True when all are
  /// gone.
  bool DeleteEntries(TreeLevel level);

 private:
  /// The same for the current entry alone.
  bool DeleteEntry(TreeLevel& level);
  bool DeleteEntryThatLeadsBack(const InsFileFinder& entry);

  /// True when something that stays can be reached from the directory: a file, a link to one, or
  /// what could not be removed. Every directory is looked at once, however many links lead to it.
  bool HoldsFile(const std::string& directory);

  // What has been found out of directories behind links. Without this, two links in each of many
  // directories would double the work again and again.
  std::set<FileIdentity> kept_;
  std::set<FileIdentity> free_of_files_;
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
  const std::string path = level.Entries().FullPath();
  FileIdentity directory;
  const bool has_other_ways = level.EntryIsBehindLink() && Identify(path, directory);
  if (has_other_ways && kept_.contains(directory)) return false;
  bool is_gone = false;
  try {
    if (level.EntryLeadsBack()) {
      is_gone = DeleteEntryThatLeadsBack(level.Entries());
    } else if (DeleteEntries(TreeLevel::Below(level))) {
      Delete(path);
      is_gone = true;
    }
  } catch (const std::exception&) {
    // The caller asked only whether the tree is gone.
  }
  if (!is_gone && has_other_ways) kept_.insert(directory);
  return is_gone;
}

bool EmptyTreeDeletion::DeleteEntryThatLeadsBack(const InsFileFinder& entry) {
  if (HoldsFile(entry.FullPath())) return false;
  // A directory proper goes when the walk is done with it, where it was come to first.
  if (entry.Type() == kLinkToDirectory) Delete(entry.FullPath());
  return true;
}

bool EmptyTreeDeletion::HoldsFile(const std::string& directory) {
  std::vector<std::string> waiting = {directory};
  std::set<FileIdentity> seen;
  while (!waiting.empty()) {
    const std::string place = std::move(waiting.back());
    waiting.pop_back();
    FileIdentity identity;
    if (!Identify(place, identity) || free_of_files_.contains(identity)) continue;
    if (kept_.contains(identity)) return true;
    if (!seen.insert(identity).second) continue;
    InsFileFinder finder = FindFirstFileExactly(place, kDirectoryOrFile);
    for (; !finder.AtEnd(); FindNextFile(finder)) {
      if (finder.IsFile()) return true;
      waiting.push_back(finder.FullPath());
    }
    finder.ThrowIfCutShort();
  }
  free_of_files_.merge(seen);
  return false;
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
