// InsFileFinder: one pass over the entries of a directory.
//
//   InsFileFinder finder = FindFirstFile("/media", kFile);
//   for (; !finder.AtEnd(); FindNextFile(finder)) Use(finder.FullPath());
//
// The entries come in the order in which the system delivers them, unsorted; "." and ".." are left
// out. A finder belongs to one caller. It closes its directory when it goes out of scope.
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

  /// True when there is no further entry, and once the finder is closed or moved from; then the four
  /// questions below have no answer.
  [[nodiscard]] bool AtEnd() const;

  /// The current entry's name, as the system gives it.
  [[nodiscard]] const std::string& Name() const;

  /// The directory's normalised path, "/" and the name. In the root directory this begins with
  /// "//", on purpose.
  [[nodiscard]] const std::string& FullPath() const;

  [[nodiscard]] EntryType Type() const;
  /// The file bit of Type(): also for a link to a file, a dangling link.
  [[nodiscard]] bool IsFile() const;
  /// The directory bit of Type(): also for a link to a directory.
  [[nodiscard]] bool IsDirectory() const;

  /// For those who must not take half a list for the whole: throws KVLInsException "readdir - " +
  /// directory when the system broke the list off, and "opendir - " + directory when there was no
  /// descriptor or memory left to open it, with the error's text; the directory is named as in
  /// FullPath(). Nothing happens when all has been listed, and when the directory is missing or closed
  /// to the user.
  void ThrowIfCutShort() const;

  /// Closes the directory; after that the finder is at its end, and can be closed again, assigned to
  /// or destroyed, no more. Never throws.
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

/// Opens the directory and stands on its first entry that has one of the bits of `type_mask`
/// (kDirectory, kFile or kDirectoryOrFile): with kDirectory also links to directories, with kFile
/// also links to anything else. A directory that is missing or cannot be opened has no entries, on
/// purpose without an error. The directory is opened by the path as given, and named by the
/// normalised one.
/// A list that the system breaks off ends early, likewise; ThrowIfCutShort tells.
/// Throws KVLInsException "FindFirstFile - Path is empty" (also when only quotes were given); and
/// what GetType throws for any entry, "." and ".." included, as it does for one that has just been
/// removed.
[[nodiscard]] InsFileFinder FindFirstFile(const std::string& path, int type_mask);

/// As FindFirstFile, for a directory whose path comes from the system and not from a user: it is
/// not normalised, so that backslashes and quotes in names stay what they are. Throws as
/// FindFirstFile does, with the directory as given in place of the normalised one.
[[nodiscard]] InsFileFinder FindFirstFileExactly(const std::string& directory, int type_mask);

/// Goes on to the next matching entry, or to the end. Must not be called at the end. Throws as
/// FindFirstFile does; the finder can then only be closed.
void FindNextFile(InsFileFinder& finder);

/// Calls `visit` with the name of every entry of a directory, "." and ".." included, in the order
/// of the system, without a look at the entries themselves. False when the directory cannot be
/// opened, as with an empty path, or its list breaks off; some names may have been visited then.
/// The path is taken as it stands. Throws only what `visit` throws.
bool ForEachName(const std::string& directory, const std::function<void(std::string_view)>& visit);

/// True when the directory has no entry, also when it is missing or cannot be opened. Throws as
/// FindFirstFile does, on purpose also for an empty path.
[[nodiscard]] bool IsEmptyDir(const std::string& path);

}  // namespace KVLInsIO
