#include "tests/companion/stepped_program.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>

#include "tests/support/call_filter.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

constexpr int kFilteredCall = SIGTRAP | (PTRACE_EVENT_SECCOMP << 8);

std::vector<unsigned> NumbersOf(Calls calls) {
  if (calls == Calls::kLooking) {
    return {SYS_openat, SYS_getdents64, SYS_newfstatat, SYS_pread64};
  }
  return {
#ifdef SYS_rename
      SYS_rename,
#endif
      SYS_openat,   SYS_mkdirat,   SYS_write,  SYS_fchmod,  SYS_utimensat,
      SYS_renameat, SYS_renameat2, SYS_linkat, SYS_unlinkat};
}

void SendTo(int stream, const std::string& path) {
  ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), stream);
}

[[noreturn]] void Become(const ProgramStart& start, Calls calls, const TestDirectory& streams) {
  SendTo(STDOUT_FILENO, streams.Path("out"));
  SendTo(STDERR_FILENO, streams.Path("err"));
  std::vector<std::string> pairs;
  for (const auto& [name, value] : start.env) pairs.push_back(name + "=" + value);
  std::vector<char*> arguments, env;
  for (const std::string& text : start.command) {
    arguments.push_back(const_cast<char*>(text.c_str()));
  }
  for (std::string& pair : pairs) env.push_back(pair.data());
  arguments.push_back(nullptr);
  env.push_back(nullptr);
  if (::chdir(start.directory.c_str()) == 0 && ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
    FilterCalls(NumbersOf(calls), SECCOMP_RET_TRACE);
    ::execve(arguments[0], arguments.data(), env.data());
  }
  ::_exit(127);
}

int WaitFor(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");
  return status;
}

/// The status in which it ended.
int StepThrough(pid_t child, const std::function<Step(int call)>& at_call) {
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESECCOMP | PTRACE_O_EXITKILL);
  long signal = 0;
  for (int call = 0;;) {
    ::ptrace(PTRACE_CONT, child, nullptr, signal);
    const int status = WaitFor(child);
    if (!WIFSTOPPED(status)) return status;
    const bool is_call = status >> 8 == kFilteredCall;
    signal = is_call ? 0 : WSTOPSIG(status);
    if (is_call && at_call(call++) == Step::kKill) ::kill(child, SIGKILL);
  }
}

}  // namespace

std::string WhyNoSteps() {
  const Outcome tried =
      RunIsolated([] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1; });
  return tried.status == 0 ? "" : "programs cannot be traced here";
}

Outcome RunStepByStep(const ProgramStart& start, Calls calls,
                      const std::function<Step(int call)>& at_call) {
  const TestDirectory streams;
  for (const char* name : {"out", "err"}) streams.Write(name, "");
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) Become(start, calls, streams);
  int status = WaitFor(child);
  if (WIFSTOPPED(status)) status = StepThrough(child, at_call);
  return {WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status),
          ReadFile(streams.Path("out")), ReadFile(streams.Path("err"))};
}

}  // namespace kvl::test
