#include "insio/delete.h"

#include <errno.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "insio/exceptions.h"
#include "insio/finder.h"
#include "insio/path_text.h"
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

/// The absolute path without links of the directory at `path`; empty when there is none, or when
/// that cannot be found out.
std::string RealDirectory(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath((path + "/.").c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? std::string() : std::string(real.get());
}

/// Cuts the absolute path of a directory back to its parent's, and that of the root directory to
/// nothing.
void GoUp(std::string& real_path) {
  const std::size_t last_slash = real_path.rfind(kPathSeparator);
  real_path.resize(last_slash == 0 && real_path.size() > 1 ? 1 : last_slash);
}

/// Directories by their absolute paths without links.
class RealDirectories {
 public:
  void Add(const std::string& directory) { directories_.insert(directory); }
  void Add(RealDirectories& others) { directories_.merge(others.directories_); }
  bool Contain(const std::string& directory) const { return directories_.contains(directory); }

  /// True for one of the directories and for what lies below one.
  bool Cover(std::string directory) const {
    for (; !directory.empty(); GoUp(directory)) {
      if (Contain(directory)) return true;
    }
    return false;
  }

 private:
  std::set<std::string> directories_;
};

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

  /// The same for the directories of one level and below it, without going through links: the
  /// directories that those lead to are added to `further`.
  bool FindsFile(TreeLevel level, const RealDirectories& searched,
                 std::vector<std::string>& further) const;

  /// True for a directory that has been found to stay, on whatever way.
  bool IsKept(const std::string& path) const;

  // What has been found out of directories behind links. Without this, two links in each of many
  // directories would double the work again and again. So that it stays small in a large tree, only
  // those are kept in mind that a link led to, or that could not be removed.
  std::set<FileIdentity> kept_;
  RealDirectories free_of_files_;  // with all that lies below them
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
  const bool is_link = level.Entries().Type() == kLinkToDirectory;
  FileIdentity directory;
  const bool has_other_ways = level.EntryIsBehindLink() && Identify(path, directory);
  if (has_other_ways && kept_.contains(directory)) return false;
  bool is_gone = false, has_failed = false;
  try {
    if (level.EntryLeadsBack()) {
      is_gone = DeleteEntryThatLeadsBack(level.Entries());
    } else if (DeleteEntries(TreeLevel::Below(level))) {
      Delete(path);
      is_gone = true;
    }
  } catch (const std::exception&) {
    has_failed = true;  // the caller asked only whether the tree is gone
  }
  if (!is_gone && has_other_ways && (is_link || has_failed)) kept_.insert(directory);
  return is_gone;
}

bool EmptyTreeDeletion::DeleteEntryThatLeadsBack(const InsFileFinder& entry) {
  if (HoldsFile(entry.FullPath())) return false;
  // A directory proper goes when the walk is done with it, where it was come to first.
  if (entry.Type() == kLinkToDirectory) Delete(entry.FullPath());
  return true;
}

bool EmptyTreeDeletion::HoldsFile(const std::string& directory) {
  std::vector<std::string> waiting = {RealDirectory(directory)};
  RealDirectories searched;
  while (!waiting.empty()) {
    const std::string place = std::move(waiting.back());
    waiting.pop_back();
    if (place.empty()) return true;  // nobody can tell what is there
    if (searched.Cover(place) || free_of_files_.Cover(place)) continue;
    searched.Add(place);
    if (FindsFile(TreeLevel::Top(place), searched, waiting)) return true;
  }
  free_of_files_.Add(searched);
  return false;
}

bool EmptyTreeDeletion::FindsFile(TreeLevel level, const RealDirectories& searched,
                                  std::vector<std::string>& further) const {
  InsFileFinder& entries = level.Entries();
  for (; !entries.AtEnd(); FindNextFile(entries)) {
    if (entries.IsFile() || IsKept(entries.FullPath())) return true;
    if (entries.Type() == kLinkToDirectory) {
      std::string target = RealDirectory(entries.FullPath());
      if (!searched.Cover(target)) further.push_back(std::move(target));
    } else if (!searched.Contain(entries.FullPath()) &&
               FindsFile(TreeLevel::Below(level), searched, further)) {
      return true;
    }
  }
  entries.ThrowIfCutShort();
  return false;
}

bool EmptyTreeDeletion::IsKept(const std::string& path) const {
  FileIdentity identity;
  return !kept_.empty() && Identify(path, identity) && kept_.contains(identity);
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
