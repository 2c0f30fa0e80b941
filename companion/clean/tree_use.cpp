#include "companion/clean/tree_use.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "insio/file_descriptor.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

using KVLInsIO::internal::FileDescriptor;
using KVLInsIO::internal::kReadWithoutWaiting;

constexpr char kProcesses[] = "/proc";

enum class Found { kNo, kUnseen, kYes };

/// Returns what a failed look at a process means. A process that has ended meanwhile has nothing
/// open.
Found Missed(int error) {
  return error == ENOENT || error == ESRCH ? Found::kNo : Found::kUnseen;
}

/// Returns whether a file of /proc contains these words.
Found FindIn(const std::string& path, std::string_view words) {
  const FileDescriptor file(path, kReadWithoutWaiting);
  if (!file.IsOpen()) return Missed(errno);
  std::array<char, 65536> buffer;
  std::string text;
  for (;;) {
    const ssize_t length = ::read(file.Number(), buffer.data(), buffer.size());
    if (length < 0) return Missed(errno);
    if (length == 0) return Found::kNo;
    text.append(buffer.data(), static_cast<std::size_t>(length));
    if (text.find(words) != std::string::npos) return Found::kYes;
    text.erase(0, text.size() - std::min(text.size(), words.size()));  // may hold a part of them
  }
}

class ProcessLook {
 public:
  ProcessLook(const std::string& name, const std::set<FileIdentity>& entries)
      : name_(name), entries_(entries) {}

  /// `process` is the directory of the process in /proc.
  Found LookAt(const std::string& process) {
    Found found = std::max(LookAtDescriptors(process + "/fd"), FindIn(process + "/maps", name_));
    for (const char* link : {"/cwd", "/root", "/exe"}) {
      found = std::max(found, LookAtLink(process + link));
    }
    return found;
  }

 private:
  Found LookAtLink(const std::string& link) const {
    std::error_code error;
    const std::string text = fs::read_symlink(link, error);
    if (error) return Missed(error.value());
    if (text.find(name_) != std::string::npos) return Found::kYes;
    const PathState state = StateAt(link);
    if (!state.IsThere()) return Missed(state.error);
    return entries_.contains(state.identity) ? Found::kYes : Found::kNo;
  }

  Found LookAtDescriptors(const std::string& directory) const {
    std::error_code error;
    fs::directory_iterator descriptors(directory, error);
    Found found = Found::kNo;
    for (; !error && descriptors != fs::directory_iterator(); descriptors.increment(error)) {
      found = std::max(found, LookAtLink(descriptors->path()));
    }
    return error ? std::max(found, Missed(error.value())) : found;
  }

  const std::string& name_;
  const std::set<FileIdentity>& entries_;
};

}  // namespace

ProcessUse FindUser(const std::string& name, const std::set<FileIdentity>& entries) {
  // A system that hides the processes of other users also hides process 1.
  ProcessUse use = {.user = {}, .is_whole = StateAt(std::string(kProcesses) + "/1").IsThere()};
  for (const fs::directory_entry& entry : fs::directory_iterator(kProcesses)) {
    const std::string number = entry.path().filename();
    if (number.find_first_not_of("0123456789") != std::string::npos) continue;
    const Found found = ProcessLook(name, entries).LookAt(entry.path());
    if (found == Found::kUnseen) use.is_whole = false;
    if (found == Found::kYes) return {.user = "process " + number, .is_whole = false};
  }
  return use;
}

bool HasMounts(const std::string& name) {
  const Found found = FindIn(std::string(kProcesses) + "/self/mountinfo", name);
  // FindIn takes a missing file for a process that has ended; here it means that /proc is missing.
  const bool is_there = StateAt(std::string(kProcesses) + "/self/mountinfo").IsThere();
  if (!is_there || found == Found::kUnseen) {
    throw std::runtime_error("the list of mounts cannot be read: /proc/self/mountinfo");
  }
  return found == Found::kYes;
}

FileUse UseOf(int file) {
  // The system grants a lease only while nobody else has the file open. When a process opens the
  // file before the lease is given back, the system sends the signal that is chosen here: one that
  // is ignored by default.
  if (::fcntl(file, F_SETSIG, SIGURG) != 0) return FileUse::kUnknown;
  if (::fcntl(file, F_SETLEASE, F_WRLCK) == 0) {
    ::fcntl(file, F_SETLEASE, F_UNLCK);
    return FileUse::kNone;
  }
  return errno == EAGAIN ? FileUse::kOther : FileUse::kUnknown;
}

}  // namespace kvl
