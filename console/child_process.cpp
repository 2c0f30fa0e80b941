#include "console/child_process.h"

#include <errno.h>
#include <sys/wait.h>
#include <unistd.h>

#include "console/signals.h"

namespace kvl {
namespace {

constexpr int kCannotExecute = 251;
constexpr int kInvalidArguments = 252;

/// Everything that the child does. It has a copy of the launcher's memory and must never return
/// into the launcher's code.
[[noreturn]] void Become(char* const* arguments, const SignalScope& signals) {
  signals.GiveBack();
  ::execvp(arguments[0], arguments);
  ::_exit(errno == EINVAL ? kInvalidArguments : kCannotExecute);
}

std::vector<char*> AsPointers(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

bool ChildProcess::Start(const std::vector<std::string>& arguments, const SignalScope& signals) {
  if (arguments.empty()) return false;
  std::vector<std::string> own_arguments = arguments;
  const std::vector<char*> pointers = AsPointers(own_arguments);
  id_ = ::fork();
  if (id_ == 0) Become(pointers.data(), signals);
  return id_ != -1;
}

int ChildProcess::Wait() const {
  int status = kNoExitCode;
  while (::waitpid(id_, &status, /*options=*/0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status)) return kNoExitCode;
  const int code = WEXITSTATUS(status);
  return code <= kHighestExitCode ? code : kNoExitCode;
}

}  // namespace kvl
