#include "tests/companion/stepped_program.h"

#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>

#include "tests/support/call_filter.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

constexpr int kFilteredCall = SIGTRAP | (PTRACE_EVENT_SECCOMP << 8);

std::vector<unsigned> NumbersOf(Calls calls) {
  if (calls == Calls::kLooking) {
    return {SYS_openat, SYS_getdents64, SYS_newfstatat, SYS_pread64};
  }
  if (calls == Calls::kStoring) return {SYS_syncfs};
  return {
#ifdef SYS_rename
      SYS_rename,
#endif
      SYS_openat,   SYS_mkdirat,   SYS_write,  SYS_fchmod,  SYS_utimensat,
      SYS_renameat, SYS_renameat2, SYS_linkat, SYS_unlinkat};
}

/// Returns a file without a name that takes the output of a stream.
int MakeStream() {
  return ::memfd_create("stream", MFD_CLOEXEC);
}

std::string TakeStream(int stream) {
  const std::string said = ReadFile("/proc/self/fd/" + std::to_string(stream));
  ::close(stream);
  return said;
}

/// Returns the status of the child at its end; for a signal, the negative number.
int StepThrough(pid_t child, const std::function<Step(int call)>& at_call) {
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESECCOMP | PTRACE_O_EXITKILL);
  long signal = 0;
  for (int status = 0, call = 0;;) {
    ::ptrace(PTRACE_CONT, child, nullptr, signal);
    if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");
    if (!WIFSTOPPED(status)) return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    const bool is_call = status >> 8 == kFilteredCall;
    signal = is_call ? 0 : WSTOPSIG(status);
    const Step step = is_call ? at_call(call++) : Step::kGoOn;
    if (step != Step::kGoOn) ::kill(child, static_cast<int>(step));
  }
}

}  // namespace

std::string WhyNoSteps() {
  const Outcome tried =
      RunIsolated([] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1; });
  return tried.status == 0 ? "" : "programs cannot be traced here";
}

Outcome RunStepByStep(const std::function<int()>& action, Calls calls,
                      const std::function<Step(int call)>& at_call) {
  const int out = MakeStream(), err = MakeStream();
  std::cout.flush();
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    FilterCalls(NumbersOf(calls), SECCOMP_RET_TRACE);
    ::raise(SIGSTOP);  // until the parent traces this process
    ::_exit(action());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFSTOPPED(status)) status = StepThrough(child, at_call);
  return {status, TakeStream(out), TakeStream(err)};
}

}  // namespace kvl::test
