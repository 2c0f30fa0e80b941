#include "tests/support/system_faults.h"

#include <sys/vfs.h>

#include <cstdarg>

extern "C" int __real_access(const char* path, int how);  // see below

namespace kvl::test {
namespace {

struct Fault {
  int error, after, times;
  std::optional<std::string> path = {};
  int failed = 0;
};
std::array<std::optional<Fault>, FailingCall::kOpenDir + 1> faults;

std::optional<std::pair<std::string, std::function<void()>>> before_open;
std::optional<uid_t> fake_user;
struct FreeBlocks {
  std::uint64_t for_all, size, more;
};
std::optional<FreeBlocks> fake_free_blocks;

bool IsAbout(const Fault& fault, std::string_view path) {
  if (!fault.path) return true;
  return fault.path->empty() ? __real_access(path.data(), F_OK) == 0 : *fault.path == path;
}

/// Returns true and sets errno if this call must fail.
bool Fails(FailingCall::Call call, std::string_view path = {}) {
  std::optional<Fault>& fault = faults[call];
  if (!fault || !IsAbout(*fault, path) || fault->after-- > 0) return false;
  if (fault->times != 0 && fault->failed++ >= fault->times) return false;
  errno = fault->error;
  return true;
}

std::string PathBelow(int directory, const char* name) {
  char path[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(directory);
  const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
  return std::string(path, static_cast<std::size_t>(length < 0 ? 0 : length)) + "/" + name;
}

}  // namespace

FailingCall::FailingCall(Call call, int error, int after, int times)
    : Undo([call] { faults[call].reset(); }) {
  faults[call] = Fault{error, after, times};
}

FailingCall::FailingCall(Call call, std::string path, int error, int after, int times)
    : FailingCall(call, error, after, times) {
  faults[call]->path = std::move(path);
}

BeforeOpen::BeforeOpen(std::string path, std::function<void()> action)
    : Undo([] { before_open.reset(); }) {
  before_open.emplace(std::move(path), std::move(action));
}

FakeUser::FakeUser(unsigned real_user_id) : Undo([] { fake_user.reset(); }) {
  fake_user = real_user_id;
}

FakeFreeBlocks::FakeFreeBlocks(std::uint64_t blocks, std::uint64_t block_size, std::uint64_t more)
    : Undo([] { fake_free_blocks.reset(); }) {
  fake_free_blocks = {blocks, block_size, more};
}

}  // namespace kvl::test

using kvl::test::FailingCall;
using kvl::test::Fails;

// The linker defines these names; see --wrap in its manual. If offsets have 64 bits, the names with
// 64 stand behind those without.
extern "C" {

/// A call that returns `failure` if `fails`, and otherwise passes.
#define KVL_WRAP(Result, name, parameters, arguments, fails, failure) \
  Result __real_##name parameters;                                    \
  Result __wrap_##name parameters {                                   \
    return (fails) ? (failure) : __real_##name arguments;             \
  }

KVL_WRAP(pid_t, fork, (), (), Fails(FailingCall::kFork), -1)
KVL_WRAP(uid_t, getuid, (), (), kvl::test::fake_user, *kvl::test::fake_user)
KVL_WRAP(dirent*, readdir, (DIR * list), (list), Fails(FailingCall::kReadDir), nullptr)
KVL_WRAP(dirent*, readdir64, (DIR * list), (list), Fails(FailingCall::kReadDir), nullptr)
KVL_WRAP(ssize_t, read, (int file, void* data, std::size_t size), (file, data, size),
         Fails(FailingCall::kRead), -1)
KVL_WRAP(ssize_t, pread64, (int file, void* data, std::size_t size, off_t at),
         (file, data, size, at), Fails(FailingCall::kRead), -1)
KVL_WRAP(pid_t, waitpid, (pid_t child, int* status, int options), (child, status, options),
         Fails(FailingCall::kWaitPid), -1)
KVL_WRAP(int, execvp, (const char* file, char* const* arguments), (file, arguments),
         Fails(FailingCall::kExecVp), -1)
KVL_WRAP(int, unlink, (const char* path), (path), Fails(FailingCall::kUnlink), -1)
KVL_WRAP(int, stat64, (const char* path, struct stat* status), (path, status),
         Fails(FailingCall::kLook, path), -1)
KVL_WRAP(int, lstat64, (const char* path, struct stat* status), (path, status),
         Fails(FailingCall::kLook, path), -1)
KVL_WRAP(int, access, (const char* path, int how), (path, how), Fails(FailingCall::kAsk, path), -1)
KVL_WRAP(int, faccessat, (int directory, const char* path, int how, int flags),
         (directory, path, how, flags), Fails(FailingCall::kAsk, path), -1)
KVL_WRAP(DIR*, opendir, (const char* path), (path), Fails(FailingCall::kOpenDir, path), nullptr)

int __real_gethostname(char* name, std::size_t size);
int __wrap_gethostname(char* name, std::size_t size) {
  if (!Fails(FailingCall::kGetHostName)) return __real_gethostname(name, size);
  std::fill_n(name, size, 'x');  // as a too long name leaves its beginning
  return -1;
}

int __real_close(int number);
int __wrap_close(int number) {
  // Closes the descriptor in any case, as the system does when it reports a late write error.
  const int result = __real_close(number);
  return Fails(FailingCall::kClose) ? -1 : result;
}

int __real_fstatat64(int directory, const char* path, struct stat* status, int flags);
int __wrap_fstatat64(int directory, const char* path, struct stat* status, int flags) {
  const bool is_below = directory >= 0 && kvl::test::faults[FailingCall::kLook];
  const std::string whole = is_below ? kvl::test::PathBelow(directory, path) : path;
  return Fails(FailingCall::kLook, whole) ? -1 : __real_fstatat64(directory, path, status, flags);
}

int __real_open64(const char* path, int flags, mode_t mode);
int __wrap_open64(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const auto& before_open = kvl::test::before_open;
  if (before_open && before_open->first == path) before_open->second();
  return Fails(FailingCall::kOpen, path) ? -1 : __real_open64(path, flags, mode);
}

int __real_openat64(int directory, const char* path, int flags, mode_t mode);
int __wrap_openat64(int directory, const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const auto& before_open = kvl::test::before_open;
  if (before_open && before_open->first == kvl::test::PathBelow(directory, path)) {
    before_open->second();
  }
  const bool is_below = directory >= 0 && kvl::test::faults[FailingCall::kOpenBelow];
  const std::string whole = is_below ? kvl::test::PathBelow(directory, path) : path;
  return Fails(FailingCall::kOpenBelow, whole) ? -1 : __real_openat64(directory, path, flags, mode);
}

int __real_statfs64(const char* path, struct statfs* status);
int __wrap_statfs64(const char* path, struct statfs* status) {
  const int result = __real_statfs64(path, status);
  if (!kvl::test::fake_free_blocks) return result;
  const auto [for_all, size, more] = *kvl::test::fake_free_blocks;
  status->f_bavail = for_all;
  status->f_bfree = for_all + more;
  status->f_bsize = static_cast<decltype(status->f_bsize)>(size);
  return result;
}

}  // extern "C"
