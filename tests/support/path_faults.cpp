#include "tests/support/path_faults.h"

#include <limits.h>

#include <cstdarg>

#include "tests/support/test.h"

extern "C" int __real_access(const char* path, int how);  // see below

namespace kvl::test {
namespace {

struct Fault {
  FailingPath::Call call;
  std::string path;
  int error;
  int after;
  int times;
  int failed = 0;
};
std::optional<Fault> fault;

bool IsArmed(FailingPath::Call call) {
  return fault && fault->call == call;
}

bool IsThere(const std::string& path) {
  return __real_access(path.c_str(), F_OK) == 0;
}

/// True, with errno set, when this call is to fail.
bool Fails(FailingPath::Call call, const std::string& path) {
  if (!IsArmed(call)) return false;
  if (fault->path.empty() ? !IsThere(path) : fault->path != path) return false;
  if (fault->after > 0) {
    --fault->after;
    return false;
  }
  if (fault->times != 0 && fault->failed++ >= fault->times) return false;
  errno = fault->error;
  return true;
}

struct Interruption {
  std::string path;
  std::function<void()> action;
};
std::optional<Interruption> before_open;

std::string PathOf(int file) {
  char path[PATH_MAX];
  const std::string name = "/proc/self/fd/" + std::to_string(file);
  const ssize_t length = ::readlink(name.c_str(), path, sizeof path);
  return {path, static_cast<std::size_t>(length < 0 ? 0 : length)};
}

}  // namespace

FailingPath::FailingPath(Call call, std::string path, int error, int after, int times) {
  fault = Fault{call, std::move(path), error, after, times};
}

FailingPath::~FailingPath() {
  fault.reset();
}

BeforeOpen::BeforeOpen(std::string path, std::function<void()> action) {
  before_open = Interruption{std::move(path), std::move(action)};
}

BeforeOpen::~BeforeOpen() {
  before_open.reset();
}

}  // namespace kvl::test

using kvl::test::before_open;
using kvl::test::FailingPath;
using kvl::test::Fails;
using kvl::test::IsArmed;
using kvl::test::PathOf;

// The names are the linker's: see --wrap in its manual. Those with 64 are what stands behind the
// names without where offsets have 64 bits.
extern "C" {

int __real_stat64(const char* path, struct stat* status);
int __wrap_stat64(const char* path, struct stat* status) {
  return Fails(FailingPath::kLook, path) ? -1 : __real_stat64(path, status);
}

int __real_lstat64(const char* path, struct stat* status);
int __wrap_lstat64(const char* path, struct stat* status) {
  return Fails(FailingPath::kLook, path) ? -1 : __real_lstat64(path, status);
}

int __real_fstatat64(int directory, const char* path, struct stat* status, int flags);
int __wrap_fstatat64(int directory, const char* path, struct stat* status, int flags) {
  const bool is_below = directory >= 0 && IsArmed(FailingPath::kLook);
  const std::string whole = is_below ? PathOf(directory) + "/" + path : path;
  return Fails(FailingPath::kLook, whole) ? -1 : __real_fstatat64(directory, path, status, flags);
}

int __wrap_access(const char* path, int how) {
  return Fails(FailingPath::kAsk, path) ? -1 : __real_access(path, how);
}

int __real_faccessat(int directory, const char* path, int how, int flags);
int __wrap_faccessat(int directory, const char* path, int how, int flags) {
  return Fails(FailingPath::kAsk, path) ? -1 : __real_faccessat(directory, path, how, flags);
}

int __real_open64(const char* path, int flags, mode_t mode);
int __wrap_open64(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (before_open && before_open->path == path) before_open->action();
  return Fails(FailingPath::kOpen, path) ? -1 : __real_open64(path, flags, mode);
}

DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path) {
  return Fails(FailingPath::kOpenDir, path) ? nullptr : __real_opendir(path);
}

}  // extern "C"
