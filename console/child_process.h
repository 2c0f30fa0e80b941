// ChildProcess: starting a program and waiting for it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kvl {

class SignalScope;

/// The highest exit code of a child that a wait gives back.
inline constexpr int kHighestExitCode = 250;
/// The result of a wait that has no exit code of the child's to give.
inline constexpr int kNoExitCode = -1;

class ChildProcess {
 public:
  /// Starts a program: the first argument names it, and is searched on PATH unless it holds a "/".
  /// The child runs in the same directory, process group and session, with the environment of this
  /// moment and the signal settings that `signals` keeps for it. True when a child process was
  /// made, even if the program then cannot be run in it (that child ends with code 251, or 252 when
  /// the system calls its arguments invalid). False when fork failed, or without any argument;
  /// nothing was started then.
  bool Start(const std::vector<std::string>& arguments, const SignalScope& signals);

  /// Waits for the child to end; an interrupted wait goes on. Its exit code, 0 to kHighestExitCode;
  /// kNoExitCode for a code above it, a death by a signal, or when there is nothing to wait for.
  /// Without a child of its own (a failed Start) it waits for any child of the process, which there
  /// normally is not.
  int Wait() const;

  /// The child's process id, -1 when there is none.
  pid_t Id() const { return id_; }

 private:
  pid_t id_ = -1;
};

}  // namespace kvl
