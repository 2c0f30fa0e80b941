// InsFileFinder goes once through the entries of a directory.
//
//   InsFileFinder finder = FindFirstFile("/media", kFile);
//   for (; !finder.AtEnd(); FindNextFile(finder)) Use(finder.FullPath());
//
// The entries come in the order of the system, unsorted, without "." and "..". A finder belongs to
// one caller. It closes its directory when it goes out of scope.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "entry.h"

namespace KVLInsIO {

class InsFileFinder;

namespace internal {
std::size_t ReadAhead(InsFileFinder& finder, std::size_t most_bytes);
InsFileFinder EnterEntry(const InsFileFinder& above);
}  // namespace internal

class InsFileFinder {
 public:
  InsFileFinder(InsFileFinder&&) noexcept;
  InsFileFinder& operator=(InsFileFinder&&) noexcept;
  ~InsFileFinder();

  /// Returns true if there is no further entry, and after the finder is closed or moved from. Then
  /// do not call the five functions below.
  [[nodiscard]] bool AtEnd() const;

  /// Returns the current entry's name, as the system gives it.
  [[nodiscard]] const std::string& Name() const;

  /// Returns the directory's normalised path, "/" and the name. In the root directory this begins
  /// with "//", on purpose.
  [[nodiscard]] const std::string& FullPath() const;

  [[nodiscard]] EntryType Type() const;
  /// Returns the file bit of Type(), which links to files and dangling links also have.
  [[nodiscard]] bool IsFile() const;
  /// Returns the directory bit of Type(), which links to directories also have.
  [[nodiscard]] bool IsDirectory() const;

  /// Throws if the list is incomplete, for callers who must not take a part for the whole:
  /// KVLInsException "readdir - " + directory if the system broke off the list, "opendir - " +
  /// directory if no descriptor or memory was left to open it, both with the error's text. The
  /// directory's path is that of FullPath(). Does nothing if the list is complete, or if the
  /// directory is missing or the user lacks the permission.
  void ThrowIfCutShort() const;

  /// Closes the directory. The finder is then at its end; it can be closed again, assigned to or
  /// destroyed. Never throws.
  void Close() noexcept;

 private:
  struct State;
  explicit InsFileFinder(std::unique_ptr<State> state);

  static InsFileFinder Start(const std::string& path, std::string directory, int type_mask);

  friend InsFileFinder FindFirstFile(const std::string& path, int type_mask);
  friend InsFileFinder FindFirstFileExactly(const std::string& directory, int type_mask);
  friend void FindNextFile(InsFileFinder& finder);
  friend std::size_t internal::ReadAhead(InsFileFinder& finder, std::size_t most_bytes);
  friend InsFileFinder internal::EnterEntry(const InsFileFinder& above);

  std::unique_ptr<State> state_;
};

/// Opens the directory and stops at its first entry that has one of the bits of `type_mask`.
/// kDirectory also matches links to directories, kFile also matches all other links,
/// kDirectoryOrFile matches every entry. Opens the directory by the path as given, and names it by
/// the normalised path. On purpose a directory that is missing or cannot be opened has no entries
/// and causes no error. If the system breaks off the list, the finder just ends early;
/// ThrowIfCutShort tells. Throws KVLInsException "FindFirstFile - Path is empty", also for a path
/// of quotes only; and what GetType throws for any entry, "." and ".." included, for example for
/// one that has just been removed.
[[nodiscard]] InsFileFinder FindFirstFile(const std::string& path, int type_mask);

/// Like FindFirstFile, for a directory whose path comes from the system and not from a user. Does
/// not normalise the path, so backslashes and quotes in names stay. Throws as FindFirstFile does,
/// with the path as given.
[[nodiscard]] InsFileFinder FindFirstFileExactly(const std::string& directory, int type_mask);

/// Goes on to the next matching entry, or to the end. Do not call it at the end. Throws as
/// FindFirstFile does; after that only close the finder.
void FindNextFile(InsFileFinder& finder);

/// Calls `visit` with the name of every entry of a directory, "." and ".." included, in the order
/// of the system. Does not look at the entries themselves. Takes the path as it stands. Returns
/// false if the directory cannot be opened, which includes an empty path, or if its list breaks
/// off; it may have visited some names then. Throws only what `visit` throws.
bool ForEachName(const std::string& directory, const std::function<void(std::string_view)>& visit);

/// Returns true if the directory has no entry, is missing or cannot be opened. Throws as
/// FindFirstFile does, on purpose also for an empty path.
[[nodiscard]] bool IsEmptyDir(const std::string& path);

}  // namespace KVLInsIO
