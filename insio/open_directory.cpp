#include "insio/open_directory.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <linux/fs.h>
#include <utility>

#include "insio/exceptions.h"
#include "insio/failed_call.h"
#include "insio/file_descriptor.h"
#include "insio/path_text.h"

namespace KVLInsIO {

using internal::FileDescriptor;
using internal::kReadWithoutWaiting;
using internal::ThrowUnless;

namespace {

constexpr char kCannotOpen[] = "opendir - ";
constexpr char kCannotRead[] = "Cannot read ";
constexpr char kCannotWrite[] = "Cannot write into ";
constexpr char kCannotSetTime[] = "SetTime - ";
constexpr mode_t kPlainMode = 0644;
constexpr mode_t kProgramMode = 0755;
constexpr mode_t kUnfinishedMode = 0600;
/// Enough to open entries from there.
constexpr int kOpenDirectory = O_PATH | O_DIRECTORY;

EntryState StateOf(const struct stat& status) {
  return {status.st_dev,         status.st_ino,
          status.st_mode,        static_cast<std::uint64_t>(status.st_size),
          status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
          status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

struct stat StatusOf(const FileDescriptor& file, const std::string& path) {
  struct stat status;
  ThrowUnless<KVLInsExceptionErrno>(::fstat(file.Number(), &status) == 0, kCannotRead, path);
  return status;
}

/// Returns the file if it is open. Otherwise throws; `failed` begins the message.
std::unique_ptr<FileDescriptor> Opened(std::unique_ptr<FileDescriptor> file, const char* failed,
                                       const std::string& path) {
  ThrowUnless<KVLInsException>(file->IsOpen(), failed, path);
  return file;
}

void ChangeMode(const FileDescriptor& file, mode_t mode, const std::string& path) {
  ThrowUnless<KVLInsExceptionErrno>(::fchmod(file.Number(), mode) == 0, "Chmod - ", path);
}

std::array<timespec, 2> Seconds(time_t accessed, time_t modified) {
  return {{{accessed, 0}, {modified, 0}}};
}

/// Returns 0 or the error. Makes the system call itself, because some C libraries lack the
/// function.
int RenameToNew(int from, const char* name, int to, const char* new_name) {
  return ::syscall(SYS_renameat2, from, name, to, new_name, RENAME_NOREPLACE) == 0 ? 0 : errno;
}

/// Returns 0 or the error. Treats a link itself, not its target.
int LinkAndUnlink(int from, const char* name, int to, const char* new_name) {
  if (::linkat(from, name, to, new_name, /*flags=*/0) != 0) return errno;
  return ::unlinkat(from, name, /*flags=*/0) == 0 ? 0 : errno;
}

/// Returns 0 or the error. Replaces nothing.
int RenameAsNew(int from, const std::string& name, int to, const std::string& new_name) {
  const int error = RenameToNew(from, name.c_str(), to, new_name.c_str());
  const bool is_unknown = error == ENOSYS || error == EINVAL ||
                          error == EPERM;  // a filter of system calls may answer EPERM
  return is_unknown ? LinkAndUnlink(from, name.c_str(), to, new_name.c_str()) : error;
}

constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;

/// A file of the directory while it is being written. It has a name that nobody else uses. The
/// destructor removes it unless Become has given it its final name.
class Unfinished {
 public:
  explicit Unfinished(const FileDescriptor& directory) : directory_(directory) {}
  ~Unfinished() {
    if (is_there_) ::unlinkat(directory_.Number(), name_.c_str(), /*flags=*/0);
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;

  std::unique_ptr<FileDescriptor> Make() {
    static std::atomic<unsigned> count = 0;
    std::unique_ptr<FileDescriptor> file;
    do {
      name_ = ".unfinished-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
      file = std::make_unique<FileDescriptor>(directory_, name_, kNew, kUnfinishedMode);
      is_there_ = file->IsOpen();
    } while (!is_there_ && errno == EEXIST);
    return file;
  }

  /// Returns 0 or the error.
  int Become(const std::string& name) {
    const int error = RenameAsNew(directory_.Number(), name_, directory_.Number(), name);
    if (error == 0) is_there_ = false;
    return error;
  }

 private:
  const FileDescriptor& directory_;
  std::string name_;
  bool is_there_ = false;
};

struct StreamCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

}  // namespace

OpenFile::OpenFile(const std::string& path)
    : OpenFile(std::make_unique<FileDescriptor>(path, kReadWithoutWaiting), path) {}

OpenFile::OpenFile(std::unique_ptr<FileDescriptor> file, const std::string& path)
    : file_(Opened(std::move(file), kCannotRead, path)), path_(path) {
  // Reading anything but a regular file may wait or never end.
  if (!S_ISREG(StatusOf(*file_, path_).st_mode)) {
    throw KVLInsException(kCannotRead + path_, EOPNOTSUPP);
  }
}

OpenFile::OpenFile(OpenFile&& other) noexcept = default;
OpenFile& OpenFile::operator=(OpenFile&& other) noexcept = default;
OpenFile::~OpenFile() = default;

EntryState OpenFile::State() const {
  return StateOf(StatusOf(*file_, path_));
}

void OpenFile::ExpectReading() const {
  constexpr off_t kWhole = 0;
  ::posix_fadvise(file_->Number(), 0, kWhole, POSIX_FADV_DONTNEED);
  ::posix_fadvise(file_->Number(), 0, kWhole, POSIX_FADV_SEQUENTIAL);
}

std::size_t OpenFile::Read(std::uint64_t at, std::span<char> buffer) const {
  const ssize_t length =
      ::pread(file_->Number(), buffer.data(), buffer.size(), static_cast<off_t>(at));
  ThrowUnless<KVLInsExceptionErrno>(length >= 0, kCannotRead, path_);
  return static_cast<std::size_t>(length);
}

NewFile::NewFile(std::unique_ptr<FileDescriptor> file, const std::string& path)
    : file_(Opened(std::move(file), kCannotWrite, path)), path_(path) {}

NewFile::NewFile(NewFile&& other) noexcept = default;
NewFile::~NewFile() = default;

/// Treats a partial write as a full disk.
void NewFile::Write(std::string_view bytes) {
  const ssize_t written = ::write(file_->Number(), bytes.data(), bytes.size());
  ThrowUnless<KVLInsExceptionErrno>(written >= 0, kCannotWrite, path_);
  if (static_cast<std::size_t>(written) < bytes.size()) {
    throw KVLInsExceptionErrno(kCannotWrite + path_, ENOSPC);
  }
}

void NewFile::Finish(FileKind kind, std::optional<std::int64_t> modified) {
  if (modified) return Finish(kind, *modified, *modified);
  // The mode comes last, so that nobody executes an incomplete file.
  ChangeMode(*file_, kind == FileKind::kProgram ? kProgramMode : kPlainMode, path_);
  // A network file system may fail as late as here.
  ThrowUnless<KVLInsExceptionErrno>(file_->Close(), kCannotWrite, path_);
}

void NewFile::Finish(FileKind kind, std::int64_t accessed, std::int64_t modified) {
  const std::array<timespec, 2> times = Seconds(accessed, modified);
  ThrowUnless<KVLInsExceptionErrno>(::futimens(file_->Number(), times.data()) == 0, kCannotSetTime,
                                    path_);
  Finish(kind);
}

OpenDirectory::OpenDirectory(const std::string& path)
    : OpenDirectory(std::make_unique<FileDescriptor>(path, kOpenDirectory), path) {}

OpenDirectory::OpenDirectory(std::unique_ptr<FileDescriptor> directory, const std::string& path)
    : directory_(Opened(std::move(directory), kCannotOpen, path)), path_(path) {}

OpenDirectory::OpenDirectory(OpenDirectory&& other) noexcept = default;
OpenDirectory& OpenDirectory::operator=(OpenDirectory&& other) noexcept = default;
OpenDirectory::~OpenDirectory() = default;

std::string OpenDirectory::PathOf(const std::string& name) const {
  const bool is_way = name.find_first_of(std::string_view("/\0", 2)) != std::string::npos;
  if (name.empty() || name == "." || name == ".." || is_way) {
    throw KVLInsException("OpenDirectory - no name of an entry: " + name);
  }
  return path_ + std::string(path_ == kPathSeparator ? "" : kPathSeparator) + name;
}

int OpenDirectory::Number() const {
  return directory_->Number();
}

std::vector<std::string> OpenDirectory::Names() const {
  const int number = ::openat(Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, StreamCloser> stream(number < 0 ? nullptr : ::fdopendir(number));
  if (stream == nullptr) {
    const int error = errno;
    if (number >= 0) ::close(number);
    throw KVLInsException(kCannotOpen + path_, error);
  }
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* const entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  ThrowUnless<KVLInsException>(errno == 0, "readdir - ", path_);
  std::sort(names.begin(), names.end());
  return names;
}

EntryState OpenDirectory::Look(const std::string& name) const {
  const std::string path = PathOf(name);
  struct stat status;
  ThrowUnless<KVLInsException>(::fstatat(Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0,
                               "lstat - ", path);
  return StateOf(status);
}

std::string OpenDirectory::Target(const std::string& name) const {
  const std::string path = PathOf(name);
  std::array<char, PATH_MAX> target;  // the longest possible target
  const ssize_t length = ::readlinkat(Number(), name.c_str(), target.data(), target.size());
  ThrowUnless<KVLInsException>(length >= 0, "readlink - ", path);
  return {target.data(), static_cast<std::size_t>(length)};
}

OpenDirectory OpenDirectory::Directory(const std::string& name) const {
  const std::string path = PathOf(name);
  return {std::make_unique<FileDescriptor>(*directory_, name, kOpenDirectory | O_NOFOLLOW), path};
}

OpenFile OpenDirectory::File(const std::string& name) const {
  const std::string path = PathOf(name);
  return {std::make_unique<FileDescriptor>(*directory_, name, kReadWithoutWaiting | O_NOFOLLOW),
          path};
}

OpenDirectory OpenDirectory::MakeDirectory(const std::string& name) const {
  const std::string path = PathOf(name);
  if (::mkdirat(Number(), name.c_str(), kProgramMode) != 0) {
    const int error = errno;
    if (error == EEXIST) return Directory(name);
    throw KVLInsException("mkdir - " + path, error);
  }
  constexpr int kForMode = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
  OpenDirectory made(std::make_unique<FileDescriptor>(*directory_, name, kForMode), path);
  ChangeMode(*made.directory_, kProgramMode, path);
  return made;
}

NewFile OpenDirectory::MakeFile(const std::string& name) const {
  const std::string path = PathOf(name);
  return {std::make_unique<FileDescriptor>(*directory_, name, kNew, kUnfinishedMode), path};
}

void OpenDirectory::WriteFile(const std::string& name, std::string_view text, FileKind kind,
                              std::optional<std::int64_t> time) const {
  NewFile file = MakeFile(name);
  file.Write(text);
  file.Finish(kind, time);
}

void OpenDirectory::CopyFile(const OpenFile& source, const std::string& name, FileKind kind,
                             const std::function<void(std::string_view)>& see) const {
  const std::string path = PathOf(name);
  const struct stat status = StatusOf(*source.file_, source.path_);
  Unfinished unfinished(*directory_);
  NewFile file(unfinished.Make(), path);
  constexpr std::size_t kBufferSize = 65536;
  std::array<char, kBufferSize>
      buffer;  // not cleared: the loop fills each byte before it writes it
  for (std::uint64_t at = 0;;) {
    const std::size_t length = source.Read(at, buffer);
    if (length == 0) break;
    const std::string_view piece(buffer.data(), length);
    if (see) see(piece);
    file.Write(piece);
    at += length;
  }
  file.Finish(kind, status.st_atime, status.st_mtime);
  const int error = unfinished.Become(name);
  if (error != 0) throw KVLInsException(kCannotWrite + path, error);
}

void OpenDirectory::MakeLink(const std::string& name, const std::string& target,
                             std::int64_t time) const {
  const std::string path = PathOf(name);
  ThrowUnless<KVLInsException>(::symlinkat(target.c_str(), Number(), name.c_str()) == 0,
                               "symlink - ", path);
  const std::array<timespec, 2> times = Seconds(time, time);
  ThrowUnless<KVLInsExceptionErrno>(
      ::utimensat(Number(), name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0, kCannotSetTime,
      path);
}

void OpenDirectory::Rename(const std::string& name, const OpenDirectory& directory,
                           const std::string& new_name) const {
  const std::string path = PathOf(name);
  const std::string new_path = directory.PathOf(new_name);
  const int error = RenameAsNew(Number(), name, directory.Number(), new_name);
  if (error != 0) throw KVLInsException("rename - " + path + " to " + new_path, error);
}

void OpenDirectory::SetTime(std::int64_t time) const {
  const std::array<timespec, 2> times = Seconds(time, time);
  ThrowUnless<KVLInsExceptionErrno>(::utimensat(Number(), ".", times.data(), /*flags=*/0) == 0,
                                    kCannotSetTime, path_);
}

void OpenDirectory::SyncFileSystem() const {
  const FileDescriptor directory(*directory_, ".", O_RDONLY | O_DIRECTORY);
  ThrowUnless<KVLInsExceptionErrno>(directory.IsOpen() && ::syncfs(directory.Number()) == 0,
                                    "syncfs - ", path_);
}

void OpenDirectory::Delete(const std::string& name) const {
  const std::string path = PathOf(name);
  ThrowUnless<KVLInsException>(::unlinkat(Number(), name.c_str(), /*flags=*/0) == 0, "unlink - ",
                               path);
}

}  // namespace KVLInsIO
