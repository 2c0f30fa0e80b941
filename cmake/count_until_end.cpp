// Writes the counters of a coverage build where the process ends without doing so (see
// coverage.cmake). A process may come here as a user that may not write them, or with a limit on
// the size of files; nothing of that may show in what it leaves behind.
#include <errno.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>

extern "C" {
#include <gcov.h>
}

namespace {

/// Standard error leads nowhere as long as this lives: troubles with the counters are told there.
class SilencedErrors {
 public:
  SilencedErrors()
      : flags_(::fcntl(STDERR_FILENO, F_GETFD)),
        callers_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    if (callers_ < 0) return;
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
  }
  ~SilencedErrors() {
    if (callers_ < 0) return;
    ::dup2(callers_, STDERR_FILENO);
    ::fcntl(STDERR_FILENO, F_SETFD, flags_);
    ::close(callers_);
  }
  SilencedErrors(const SilencedErrors&) = delete;
  SilencedErrors& operator=(const SilencedErrors&) = delete;

 private:
  int flags_;
  int callers_;
};

/// Lifts a limit as long as this lives, if the process may.
class LiftedLimit {
 public:
  using Resource = decltype(RLIMIT_FSIZE);

  explicit LiftedLimit(Resource resource) : resource_(resource) {
    ::getrlimit(resource_, &callers_);
    const rlimit highest = {callers_.rlim_max, callers_.rlim_max};
    is_lifted_ = ::setrlimit(resource_, &highest) == 0;
  }
  ~LiftedLimit() { ::setrlimit(resource_, &callers_); }
  LiftedLimit(const LiftedLimit&) = delete;
  LiftedLimit& operator=(const LiftedLimit&) = delete;

  bool IsEndless() const { return is_lifted_ && callers_.rlim_max == RLIM_INFINITY; }

 private:
  Resource resource_;
  rlimit callers_ = {};
  bool is_lifted_ = false;
};

/// Under a limit that stays, the counters are lost: files cut short would spoil what others count.
void WriteCounters() {
  const int error = errno;
  {
    const SilencedErrors errors;
    const LiftedLimit descriptors(RLIMIT_NOFILE);
    const LiftedLimit size(RLIMIT_FSIZE);
    if (size.IsEndless()) ::__gcov_dump();
  }
  errno = error;
}

/// Comes before the counters are written in the usual way, which then finds nothing left to do, or
/// a place where it cannot write.
[[gnu::destructor]] void AtTheUsualEnd() {
  WriteCounters();
  if (LiftedLimit(RLIMIT_FSIZE).IsEndless()) return;
  ::setenv("GCOV_PREFIX", "/dev/null", /*replace=*/1);
  ::close(STDERR_FILENO);
  ::open("/dev/null", O_WRONLY);
}

}  // namespace

// Calls from this program come here instead of the C library.
extern "C" {

void _exit(int status) {
  WriteCounters();
  ::syscall(SYS_exit_group, status);
  __builtin_unreachable();
}

int execvp(const char* file, char* const* arguments) {
  WriteCounters();
  ::__gcov_reset();  // should the process go on, only what comes from now on is to be added
  return ::execvpe(file, arguments, environ);
}

}  // extern "C"
