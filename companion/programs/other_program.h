// Running a program that the companion needs, and leaving nothing behind when a signal ends both.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

#include "console/signals.h"

namespace kvl {

/// Where a program of that name is found on PATH, or in /bin or /usr/bin when that is empty; empty when it is
/// nowhere.
std::string PathOfProgram(const std::string& name);

/// While it lives, a signal that asks this process to end (SIGINT, SIGTERM, SIGHUP) has to wait, unless
/// it is ignored, so that what is made meanwhile can be removed; it ends the process with the scope. Only
/// for this thread: in others these signals must be blocked.
class ProgramScope {
 public:
  ProgramScope();
  ~ProgramScope();
  ProgramScope(const ProgramScope&) = delete;
  ProgramScope& operator=(const ProgramScope&) = delete;

  /// Runs a program, as ChildProcess does, and gives its exit code; kNoExitCode when there is none. The
  /// first of those signals is handed to it, the second one kills it.
  int Run(const std::vector<std::string>& command) const;

  /// The same, and what it says on standard error goes into `said` and nowhere else, where the
  /// system has memory to keep it in (Linux 3.17). No other thread may write there meanwhile.
  int Run(const std::vector<std::string>& command, std::string& said) const;

 private:
  void WaitForEndOf(pid_t child) const;

  SignalScope signals_;
  sigset_t endings_, before_ = {};
};

}  // namespace kvl
