// OpenDirectory: a directory that is held open, and operations in it by the names of its entries.
//
// Use it for names that come from a disk, an archive or somebody else. It takes a name as it is, as
// one name with any bytes and never as a path. It follows no link. If somebody renames or exchanges
// a directory meanwhile, everything that it opens, creates and writes still lies in the directory
// that it holds open. It goes down any number of levels, however long the path is.
//
// Every operation that takes a name throws KVLInsException "OpenDirectory - no name of an entry: "
// + name, before it asks the system, for the empty name, ".", "..", and a name that contains "/" or
// a NUL byte. Paths serve only for messages: that of a directory, "/" and the name. An object that
// has been moved from can only be assigned to or destroyed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KVLInsIO {

namespace internal {
class FileDescriptor;
}

/// The state of an entry. Comparing two states tells whether the entry has changed.
struct EntryState {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t mode = 0;  ///< type and permissions, as in st_mode
  std::uint64_t size = 0;
  std::int64_t modified = 0;  ///< seconds
  std::int64_t modified_nanoseconds = 0;
  /// The time of the last change of the status: of a write, or of a change to mode, owner, times or
  /// names. Nobody can set it back.
  std::int64_t changed = 0;  ///< seconds
  std::int64_t changed_nanoseconds = 0;

  friend bool operator==(const EntryState&, const EntryState&) = default;
};

/// A regular file that is open for reading.
class OpenFile {
 public:
  /// Opens the file at `path`. Takes the path as it stands and follows links. Never waits. Throws
  /// KVLInsException "Cannot read " + path with the error's text, which is that of EOPNOTSUPP for
  /// anything but a regular file.
  explicit OpenFile(const std::string& path);

  OpenFile(OpenFile&& other) noexcept;
  OpenFile& operator=(OpenFile&& other) noexcept;
  ~OpenFile();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// Returns the present state. Throws KVLInsExceptionErrno "Cannot read " + path.
  [[nodiscard]] EntryState State() const;

  /// Tells the system that the file will be read once, from its beginning to its end, and from the
  /// disc: the system should drop what it holds of it in memory. Does not tell whether the system
  /// did so.
  void ExpectReading() const;

  /// Reads bytes from `at` on, and returns their number: 0 at the end of the file; fewer than fit
  /// into `buffer` only if the file ends there or the system has no more at hand. Several threads
  /// may read at once. Throws KVLInsExceptionErrno "Cannot read " + path.
  std::size_t Read(std::uint64_t at, std::span<char> buffer) const;

 private:
  friend class OpenDirectory;
  OpenFile(std::unique_ptr<internal::FileDescriptor> file, const std::string& path);

  std::unique_ptr<internal::FileDescriptor> file_;
  std::string path_;
};

/// The kind of a new file: everybody may read a plain one (mode 644), and also execute a program
/// (mode 755).
enum class FileKind { kPlain, kProgram };

/// A new file that is being written. Until it is finished, only its owner may read and write it. A
/// file that is never finished stays as it is.
class NewFile {
 public:
  NewFile(NewFile&& other) noexcept;
  ~NewFile();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// Appends the bytes. Throws KVLInsExceptionErrno "Cannot write into " + path, with the text of
  /// ENOSPC if the system took only a part.
  void Write(std::string_view bytes);

  /// Finishes the file: gives it the mode of its kind, whatever the umask, and the access and
  /// modification times in seconds, and closes it. Throws KVLInsExceptionErrno "SetTime - ", "Chmod
  /// - " or, if the file cannot be stored, "Cannot write into " + path.
  void Finish(FileKind kind, std::optional<std::int64_t> modified = {});
  void Finish(FileKind kind, std::int64_t accessed, std::int64_t modified);

 private:
  friend class OpenDirectory;
  NewFile(std::unique_ptr<internal::FileDescriptor> file, const std::string& path);

  std::unique_ptr<internal::FileDescriptor> file_;
  std::string path_;
};

class OpenDirectory {
 public:
  /// Opens the directory at `path`; "." is the working directory. Takes the path as it stands and
  /// follows links. Does not need the right to list the directory. Throws KVLInsException "opendir
  /// - " + path with the error's text.
  explicit OpenDirectory(const std::string& path);

  OpenDirectory(OpenDirectory&& other) noexcept;
  OpenDirectory& operator=(OpenDirectory&& other) noexcept;
  ~OpenDirectory();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// Returns the names of all entries except "." and "..", sorted by their bytes. Throws
  /// KVLInsException "opendir - " or "readdir - " + path with the error's text.
  [[nodiscard]] std::vector<std::string> Names() const;

  /// Returns the state of the entry; of a link, that of the link itself. Throws KVLInsException
  /// "lstat - " + path with the error's text.
  [[nodiscard]] EntryState Look(const std::string& name) const;

  /// Returns the target of a symbolic link, byte for byte. Throws KVLInsException "readlink - " +
  /// path with the error's text, which is that of EINVAL for anything but a link.
  [[nodiscard]] std::string Target(const std::string& name) const;

  /// Opens a directory. Throws KVLInsException "opendir - " + path with the error's text, also for
  /// a link to a directory.
  [[nodiscard]] OpenDirectory Directory(const std::string& name) const;

  /// Opens a regular file, without waiting. Throws as the constructor of OpenFile does, with the
  /// text of ELOOP for a link.
  [[nodiscard]] OpenFile File(const std::string& name) const;

  /// Creates a directory with mode 755, whatever the umask. Opens an existing one instead and
  /// leaves it as it is. Fails if the umask takes the right to read from the owner. Throws
  /// KVLInsException "mkdir - " + path with the error's text, and as Directory does;
  /// KVLInsExceptionErrno "Chmod - " + path. A directory that it created stays.
  OpenDirectory MakeDirectory(const std::string& name) const;

  /// Creates a file to write into. Throws KVLInsException "Cannot write into " + path with the
  /// error's text, which is that of EEXIST if anything is there, also a link.
  [[nodiscard]] NewFile MakeFile(const std::string& name) const;

  /// Creates a file that contains `text`; `time`, in seconds, becomes its access and modification
  /// time. Throws as MakeFile and NewFile do; the file then stays, partly written.
  void WriteFile(const std::string& name, std::string_view text, FileKind kind,
                 std::optional<std::int64_t> time = {}) const;

  /// Copies an open file, from its beginning to its end, with its access and modification times in
  /// whole seconds and the mode of `kind`. Passes the bytes to `see`, unless that is empty, piece
  /// by piece before it writes them; an exception from `see` ends the copy. Until the copy is
  /// complete, its only name is ".unfinished-" and numbers. Throws as WriteFile does, and
  /// KVLInsExceptionErrno "Cannot read " + the source's path. Leaves nothing behind then.
  void CopyFile(const OpenFile& source, const std::string& name, FileKind kind,
                const std::function<void(std::string_view)>& see = {}) const;

  /// Creates a link to `target` without looking at the target. `time`, in seconds, becomes the
  /// link's access and modification time. Throws KVLInsException "symlink - " + path with the
  /// error's text, which is that of EEXIST if anything is there; KVLInsExceptionErrno "SetTime - "
  /// + path, and then the link stays.
  void MakeLink(const std::string& name, const std::string& target, std::int64_t time) const;

  /// Renames an entry, into this directory or another one. Replaces nothing. If the system cannot
  /// guarantee that in one step (renameat2(2)), gives the entry its new name and then removes the
  /// old one; a directory cannot be renamed that way. Throws KVLInsException "rename - " + path + "
  /// to " + the new path with the error's text, which is that of EEXIST if anything is there, also
  /// a link. Nothing has changed then, except that an entry keeps both names if its old one cannot
  /// be removed.
  void Rename(const std::string& name, const OpenDirectory& directory,
              const std::string& new_name) const;

  /// Gives the directory itself this access and modification time, in seconds. A later change in
  /// the directory also changes its modification time. Throws KVLInsExceptionErrno "SetTime - " +
  /// path.
  void SetTime(std::int64_t time) const;

  /// Waits until everything that anybody has written to the directory's file system is stored.
  /// Throws KVLInsExceptionErrno "syncfs - " + path, also if something could not be stored and the
  /// system has told nobody.
  void SyncFileSystem() const;

  /// Removes an entry that is no directory. Throws KVLInsException "unlink - " + path with the
  /// error's text.
  void Delete(const std::string& name) const;

 private:
  OpenDirectory(std::unique_ptr<internal::FileDescriptor> directory, const std::string& path);

  std::string PathOf(const std::string& name) const;
  int Number() const;

  std::unique_ptr<internal::FileDescriptor> directory_;
  std::string path_;
};

}  // namespace KVLInsIO
