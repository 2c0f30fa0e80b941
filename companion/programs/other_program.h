// Running another program such that a signal that ends both leaves nothing behind.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

#include "console/signals.h"

namespace kvl {

/// Returns the path of the program of that name on PATH, or in /bin or /usr/bin when PATH is empty.
/// Returns an empty text when there is no such program.
std::string PathOfProgram(const std::string& name);

/// While this object exists, SIGINT, SIGTERM and SIGHUP have to wait unless they are ignored, so
/// that the caller can remove what it has made. At the end of the scope, a signal that waits ends
/// the process. All other threads must have these signals blocked.
class ProgramScope {
 public:
  ProgramScope();
  ~ProgramScope();
  ProgramScope(const ProgramScope&) = delete;
  ProgramScope& operator=(const ProgramScope&) = delete;

  /// Runs a program as ChildProcess does, and returns its exit code, or kNoExitCode when it has
  /// none. Passes the first of those signals on to the program, and kills it at the second one.
  int Run(const std::vector<std::string>& command) const;

  /// Does the same, and keeps what the program writes to standard error in `said` instead of
  /// showing it. Before Linux 3.17, shows it and leaves `said` empty. No other thread may write to
  /// standard error meanwhile.
  int Run(const std::vector<std::string>& command, std::string& said) const;

 private:
  void WaitForEndOf(pid_t child) const;

  SignalScope signals_;
  sigset_t endings_, before_ = {};
};

}  // namespace kvl
