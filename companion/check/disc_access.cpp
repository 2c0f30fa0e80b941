#include "companion/check/disc_access.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <linux/capability.h>
#include <memory>
#include <string_view>

#include "companion/names/path_state.h"
#include "insio/file_descriptor.h"

namespace kvl {
namespace {

/// Returns 0 for a regular file, else an error. Callers ask before they open the file, because some
/// devices act when they are opened, and again afterwards, because somebody may have replaced it.
int WhyNotRegular(const PathState& state) {
  if (!state.IsThere()) return state.error;
  if (state.IsDirectory()) return EISDIR;
  return state.IsFile() ? 0 : EOPNOTSUPP;
}

/// Appends the next bytes, at the end of the file none. Returns an error or 0.
int ReadMore(int file, std::size_t most_bytes, std::string& bytes) {
  constexpr std::size_t kAtOnce = 65536;
  const std::size_t before = bytes.size();
  bytes.resize(before + std::min(most_bytes - before, kAtOnce));
  ssize_t count = 0;
  int error = 0;
  do {
    count = ::read(file, bytes.data() + before, bytes.size() - before);
    error = count < 0 ? errno : 0;
  } while (error == EINTR);
  bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return error;
}

struct DirectoryCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

}  // namespace

int WhyNotAllowed(const std::string& path, int how) {
  if (::faccessat(AT_FDCWD, path.c_str(), how, AT_EACCESS) == 0) return 0;
  const int error = errno;
  if (error != EPERM) return error;
  // Older container runtimes refuse the newer system call behind faccessat for every file.
  return ::access(path.c_str(), how) == 0 ? 0 : errno;
}

bool MayOverridePermissions() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, /*pid=*/0};
  __user_cap_data_struct powers[_LINUX_CAPABILITY_U32S_3];
  if (::syscall(SYS_capget, &header, powers) != 0) return ::geteuid() == 0;
  return (powers[0].effective & (1U << CAP_DAC_OVERRIDE)) != 0;
}

mode_t Umask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

std::string OctalUmask() {
  const mode_t mask = Umask();
  std::string text;
  for (const unsigned shift : {6U, 3U, 0U}) text += std::to_string(mask >> shift & 7U);
  return text;
}

FileStart ReadStart(const std::string& path, std::size_t most_bytes) {
  return ReadPiece(path, /*offset=*/0, most_bytes);
}

FileStart ReadPiece(const std::string& path, std::uint64_t offset, std::size_t most_bytes) {
  if (const int error = WhyNotRegular(StateAt(path))) return {{}, error};
  const KVLInsIO::internal::FileDescriptor file(path, KVLInsIO::internal::kReadWithoutWaiting);
  if (!file.IsOpen()) return {{}, errno};
  const PathState state = StateOfOpen(file.Number());
  if (const int error = WhyNotRegular(state)) return {{}, error};
  if (offset > 0) {
    if (offset >= state.size) return {};
    if (::lseek(file.Number(), static_cast<off_t>(offset), SEEK_SET) < 0) return {{}, errno};
  }
  FileStart start;
  std::size_t before = 0;
  do {
    before = start.bytes.size();
    if (const int error = ReadMore(file.Number(), most_bytes, start.bytes)) return {{}, error};
  } while (start.bytes.size() > before && start.bytes.size() < most_bytes);
  return start;
}

DirectoryNames NamesIn(const std::string& directory) {
  const std::unique_ptr<DIR, DirectoryCloser> stream(::opendir(directory.c_str()));
  if (stream == nullptr) return {{}, errno};
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  return {std::move(names), errno};
}

DirectoryNames SortedNamesIn(const std::string& directory) {
  DirectoryNames found = NamesIn(directory);
  std::sort(found.names.begin(), found.names.end());
  return found;
}

}  // namespace kvl
