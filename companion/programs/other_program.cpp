#include "companion/programs/other_program.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <sstream>

#include "console/child_process.h"
#include "environment/environment.h"

namespace kvl {
namespace {

bool HasEnded(pid_t child) {
  siginfo_t info = {};
  ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
  return info.si_pid == child;
}

/// Sends standard error into memory while this object exists. Changes nothing when the system
/// cannot do that.
class ErrorsInMemory {
 public:
  ErrorsInMemory()
      : memory_(::memfd_create("errors", MFD_CLOEXEC)),
        errors_(memory_ < 0 ? -1 : ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    if (errors_ >= 0) ::dup2(memory_, STDERR_FILENO);
  }
  ~ErrorsInMemory() {
    if (errors_ >= 0) {
      ::dup2(errors_, STDERR_FILENO);
      ::close(errors_);
    }
    if (memory_ >= 0) ::close(memory_);
  }
  ErrorsInMemory(const ErrorsInMemory&) = delete;
  ErrorsInMemory& operator=(const ErrorsInMemory&) = delete;

  /// Returns what has been written so far, up to 65536 bytes.
  std::string Text() const {
    std::array<char, 65536> text;
    const ssize_t length = memory_ < 0 ? 0 : ::pread(memory_, text.data(), text.size(), 0);
    return {text.data(), length < 0 ? 0 : static_cast<std::size_t>(length)};
  }

 private:
  const int memory_, errors_;
};

}  // namespace

std::string PathOfProgram(const std::string& name) {
  const std::string path = GetEnv("PATH");
  std::istringstream directories(path.empty() ? "/bin:/usr/bin" : path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    std::string file = (directory.empty() ? "." : directory) + "/" + name;
    struct stat status;
    const bool is_file = ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (is_file && ::access(file.c_str(), X_OK) == 0) return file;
  }
  return {};
}

ProgramScope::ProgramScope() {
  ::sigemptyset(&endings_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::sigaddset(&endings_, signal);
  }
  ::sigaddset(&endings_, SIGCHLD);
  ::pthread_sigmask(SIG_BLOCK, &endings_, &before_);
}

/// A signal that had to wait arrives here.
ProgramScope::~ProgramScope() {
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

int ProgramScope::Run(const std::vector<std::string>& command) const {
  ChildProcess child;
  if (!child.Start(command, signals_)) return kNoExitCode;
  WaitForEndOf(child.Id());
  return child.Wait();
}

int ProgramScope::Run(const std::vector<std::string>& command, std::string& said) const {
  ErrorsInMemory errors;
  const int status = Run(command);
  said = errors.Text();
  return status;
}

void ProgramScope::WaitForEndOf(pid_t child) const {
  int asked_for = 0;
  while (!HasEnded(child)) {
    const int signal = ::sigwaitinfo(&endings_, nullptr);
    if (signal <= 0 || signal == SIGCHLD) continue;
    ::kill(child, asked_for == 0 ? signal : SIGKILL);
    asked_for = signal;
  }
  if (asked_for != 0) ::raise(asked_for);
}

}  // namespace kvl
