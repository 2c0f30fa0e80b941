// OpenDirectory: a directory that is held open, and what is done in it by the names of its entries.
//
// For names that come from a disk, an archive or somebody else. A name is taken as it is: one name,
// whatever its bytes, and never a way. A link is never followed, and who renames or exchanges a
// directory meanwhile leads nothing elsewhere: what is opened, made and written lies in the
// directory that is open. Any number of levels can be gone down, however long the path would be.
//
// Every operation that takes a name throws KVLInsException "OpenDirectory - no name of an entry: " +
// name for the empty name, ".", "..", and one with a "/" or a NUL byte in it, before it asks the
// system. Paths are for messages: that of a directory, "/" and the name. An object that has been moved
// from can only be assigned to or destroyed.
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

/// What lies under a name, to tell later whether it is still the same.
struct EntryState {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t mode = 0;  ///< type and permissions, as in st_mode
  std::uint64_t size = 0;
  std::int64_t modified = 0;  ///< seconds
  std::int64_t modified_nanoseconds = 0;
  /// Of the status: of the last write, and of the last change to mode, owner, times or names, which
  /// nobody can set back.
  std::int64_t changed = 0;  ///< seconds
  std::int64_t changed_nanoseconds = 0;

  friend bool operator==(const EntryState&, const EntryState&) = default;
};

/// A regular file that is open for reading.
class OpenFile {
 public:
  /// Opens the file at `path`, which is taken as it stands, with links followed. Never waits.
  /// Throws KVLInsException "Cannot read " + path with the error's text; that is the text of
  /// EOPNOTSUPP for anything but a regular file.
  explicit OpenFile(const std::string& path);

  OpenFile(OpenFile&& other) noexcept;
  OpenFile& operator=(OpenFile&& other) noexcept;
  ~OpenFile();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// As it is now. Throws KVLInsExceptionErrno "Cannot read " + path.
  [[nodiscard]] EntryState State() const;

  /// Tells the system that the file will be read once, from its beginning to its end, and from the
  /// disc: what memory holds of it is to be dropped. Whether the system can do so, nobody learns.
  void ExpectReading() const;

  /// Reads bytes from `at` on, and gives their number: fewer than fit only when the file ends there or
  /// the system has no more at hand, 0 at its end. Several threads may read at once.
  /// Throws KVLInsExceptionErrno "Cannot read " + path.
  std::size_t Read(std::uint64_t at, std::span<char> buffer) const;

 private:
  friend class OpenDirectory;
  OpenFile(std::unique_ptr<internal::FileDescriptor> file, const std::string& path);

  std::unique_ptr<internal::FileDescriptor> file_;
  std::string path_;
};

/// Whether everybody may read a new file (mode 644), or execute it, too (mode 755).
enum class FileKind { kPlain, kProgram };

/// A file that was not there and is being written. Only its owner may read and write it until it is
/// finished; what is not finished stays as it is.
class NewFile {
 public:
  NewFile(NewFile&& other) noexcept;
  ~NewFile();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// Writes the bytes behind those that are there. Throws KVLInsExceptionErrno "Cannot write into " +
  /// path, with the text of ENOSPC when the system took only a part.
  void Write(std::string_view bytes);

  /// Gives it the mode of its kind whatever the umask, and the access and modification times in
  /// seconds. Nothing can be written after that. Throws KVLInsExceptionErrno "SetTime - ", "Chmod - "
  /// or, when it cannot be stored, "Cannot write into " + path.
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
  /// Opens the directory at `path`, which is taken as it stands, with links followed; "." for the
  /// working directory. The right to list it is not needed.
  /// Throws KVLInsException "opendir - " + path with the error's text.
  explicit OpenDirectory(const std::string& path);

  OpenDirectory(OpenDirectory&& other) noexcept;
  OpenDirectory& operator=(OpenDirectory&& other) noexcept;
  ~OpenDirectory();

  [[nodiscard]] const std::string& Path() const { return path_; }

  /// The names of all entries but "." and "..", sorted by their bytes.
  /// Throws KVLInsException "opendir - " or "readdir - " + path with the error's text.
  [[nodiscard]] std::vector<std::string> Names() const;

  /// What lies there; of a link, the link itself. Throws KVLInsException "lstat - " + path with the
  /// error's text.
  [[nodiscard]] EntryState Look(const std::string& name) const;

  /// What a symbolic link holds, byte for byte. Throws KVLInsException "readlink - " + path with the
  /// error's text; that is the text of EINVAL for anything but a link.
  [[nodiscard]] std::string Target(const std::string& name) const;

  /// Opens a directory. Throws KVLInsException "opendir - " + path with the error's text, also for a
  /// link to a directory.
  [[nodiscard]] OpenDirectory Directory(const std::string& name) const;

  /// Opens a regular file, without waiting. Throws as the constructor of OpenFile does, and with the
  /// text of ELOOP for a link.
  [[nodiscard]] OpenFile File(const std::string& name) const;

  /// Makes a directory with mode 755, whatever the umask, or opens the one that is there and leaves
  /// it as it is. A umask that takes the right to read from the owner makes it fail.
  /// Throws KVLInsException "mkdir - " + path with the error's text, and as Directory does;
  /// KVLInsExceptionErrno "Chmod - " + path. A directory that was made stays.
  OpenDirectory MakeDirectory(const std::string& name) const;

  /// Makes a file to write into. Nothing may be there yet. Throws KVLInsException "Cannot write into "
  /// + path with the error's text, with that of EEXIST when anything is there, also a link.
  [[nodiscard]] NewFile MakeFile(const std::string& name) const;

  /// Makes a file that holds `text`; `time`, in seconds, becomes its access and modification time.
  /// Throws as MakeFile does, and as NewFile does; the file then stays, partly written.
  void WriteFile(const std::string& name, std::string_view text, FileKind kind,
                 std::optional<std::int64_t> time = {}) const;

  /// Makes a copy of an open file, from its beginning to its end, with its access and modification
  /// time in whole seconds, and the mode of its kind. `see`, unless empty, gets the bytes piece by
  /// piece before they are written; what it throws ends the copy. Until it is whole it has a name
  /// of its own, ".unfinished-" and numbers, and no other. Throws as WriteFile does;
  /// KVLInsExceptionErrno "Cannot read " + the source's path. Nothing is left then.
  void CopyFile(const OpenFile& source, const std::string& name, FileKind kind,
                const std::function<void(std::string_view)>& see = {}) const;

  /// Makes a link that holds `target`, which is not looked at. Nothing may be there yet. `time`, in
  /// seconds, becomes its access and modification time.
  /// Throws KVLInsException "symlink - " + path with the error's text, with that of EEXIST when
  /// anything is there; KVLInsExceptionErrno "SetTime - " + path, and the link then stays.
  void MakeLink(const std::string& name, const std::string& target, std::int64_t time) const;

  /// Renames an entry, into a directory that may be the same one. Nothing may be there yet. Where the
  /// system cannot make sure of that in one step (renameat2(2)), the entry gets its new name and loses
  /// the old one after that, which cannot be done with a directory.
  /// Throws KVLInsException "rename - " + path + " to " + the new path with the error's text, with that
  /// of EEXIST when anything is there, also a link. Nothing has changed then, but that an entry whose
  /// old name cannot be taken away has both.
  void Rename(const std::string& name, const OpenDirectory& directory,
              const std::string& new_name) const;

  /// Gives the directory itself this access and modification time, in seconds; what is made in it
  /// later changes the latter again. Throws KVLInsExceptionErrno "SetTime - " + path.
  void SetTime(std::int64_t time) const;

  /// Comes back when all that was written to the file system of the directory, by whomever, is stored.
  /// Throws KVLInsExceptionErrno "syncfs - " + path, also when something could not be stored and
  /// nobody has been told.
  void SyncFileSystem() const;

  /// Removes anything but a directory. Throws KVLInsException "unlink - " + path with the error's text.
  void Delete(const std::string& name) const;

 private:
  OpenDirectory(std::unique_ptr<internal::FileDescriptor> directory, const std::string& path);

  std::string PathOf(const std::string& name) const;
  int Number() const;

  std::unique_ptr<internal::FileDescriptor> directory_;
  std::string path_;
};

}  // namespace KVLInsIO
