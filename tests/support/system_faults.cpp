#include "tests/support/system_faults.h"

#include <sys/vfs.h>

#include "tests/support/test.h"

namespace kvl::test {
namespace {

struct Fault {
  bool armed = false;
  int error = 0;
  int after = 0;
  int times = 0;
  int failed = 0;
};

constexpr std::size_t kCalls = FailingCall::kUnlink + 1;
std::array<Fault, kCalls> faults;
std::optional<uid_t> fake_user;

struct FreeBlocks {
  std::uint64_t blocks, block_size;
};
std::optional<FreeBlocks> fake_free_blocks;

/// True, with errno set, when this call is to fail.
bool Fails(FailingCall::Call call) {
  Fault& fault = faults[call];
  if (!fault.armed || fault.after-- > 0) return false;
  if (fault.times != 0 && fault.failed++ >= fault.times) return false;
  errno = fault.error;
  return true;
}

}  // namespace

FailingCall::FailingCall(Call call, int error, int after, int times) : call_(call) {
  faults[call] = {true, error, after, times, 0};
}

FailingCall::~FailingCall() {
  faults[call_] = {};
}

FakeUser::FakeUser(unsigned real_user_id) {
  fake_user = real_user_id;
}

FakeUser::~FakeUser() {
  fake_user.reset();
}

FakeFreeBlocks::FakeFreeBlocks(std::uint64_t blocks, std::uint64_t block_size) {
  fake_free_blocks = {blocks, block_size};
}

FakeFreeBlocks::~FakeFreeBlocks() {
  fake_free_blocks.reset();
}

}  // namespace kvl::test

using kvl::test::FailingCall;
using kvl::test::Fails;
using kvl::test::fake_free_blocks;
using kvl::test::fake_user;

// The names are the linker's: see --wrap in its manual.
extern "C" {

pid_t __real_fork();
pid_t __wrap_fork() {
  return Fails(FailingCall::kFork) ? -1 : __real_fork();
}

int __real_gethostname(char* name, std::size_t size);
int __wrap_gethostname(char* name, std::size_t size) {
  if (!Fails(FailingCall::kGetHostName)) return __real_gethostname(name, size);
  std::fill_n(name, size, 'x');  // as a name that is too long leaves its beginning behind
  return -1;
}

dirent* __real_readdir(DIR* stream);
dirent* __wrap_readdir(DIR* stream) {
  return Fails(FailingCall::kReadDir) ? nullptr : __real_readdir(stream);
}
// The name behind readdir where offsets have 64 bits.
dirent* __real_readdir64(DIR* stream);
dirent* __wrap_readdir64(DIR* stream) {
  return Fails(FailingCall::kReadDir) ? nullptr : __real_readdir64(stream);
}

ssize_t __real_read(int number, void* buffer, std::size_t size);
ssize_t __wrap_read(int number, void* buffer, std::size_t size) {
  return Fails(FailingCall::kRead) ? -1 : __real_read(number, buffer, size);
}

int __real_close(int number);
int __wrap_close(int number) {
  // The descriptor is closed in any case, as it is when the system reports a late write error.
  const int result = __real_close(number);
  return Fails(FailingCall::kClose) ? -1 : result;
}

pid_t __real_waitpid(pid_t child, int* status, int options);
pid_t __wrap_waitpid(pid_t child, int* status, int options) {
  return Fails(FailingCall::kWaitPid) ? -1 : __real_waitpid(child, status, options);
}

int __real_execvp(const char* file, char* const* arguments);
int __wrap_execvp(const char* file, char* const* arguments) {
  return Fails(FailingCall::kExecVp) ? -1 : __real_execvp(file, arguments);
}

int __real_unlink(const char* path);
int __wrap_unlink(const char* path) {
  return Fails(FailingCall::kUnlink) ? -1 : __real_unlink(path);
}

// The name behind statfs where offsets have 64 bits.
int __real_statfs64(const char* path, struct statfs* status);
int __wrap_statfs64(const char* path, struct statfs* status) {
  const int result = __real_statfs64(path, status);
  if (!fake_free_blocks) return result;
  status->f_bavail = fake_free_blocks->blocks;
  status->f_bsize = static_cast<decltype(status->f_bsize)>(fake_free_blocks->block_size);
  return result;
}

uid_t __real_getuid();
uid_t __wrap_getuid() {
  return fake_user ? *fake_user : __real_getuid();
}

}  // extern "C"
