// ChildProcess starts a program and waits for it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kvl {

class SignalScope;

/// The highest exit code of a child that Wait returns.
inline constexpr int kHighestExitCode = 250;
/// The result of Wait if it has no exit code to return.
inline constexpr int kNoExitCode = -1;

class ChildProcess {
 public:
  /// Starts the program that the first argument names; searches PATH for it unless it contains a
  /// "/". The child has the same directory, process group and session, the present environment, and
  /// the signal settings that `signals` gives back. Returns true once a child process exists, even
  /// if the child then cannot run the program: the child ends with code 252 if the system calls the
  /// arguments invalid, otherwise with 251. Returns false without a child if fork fails or there is
  /// no argument.
  bool Start(const std::vector<std::string>& arguments, const SignalScope& signals);

  /// Waits for the child to end; continues after an interruption. Returns the child's exit code, 0
  /// to kHighestExitCode. Returns kNoExitCode for a higher code, after a death by a signal, and if
  /// there is nothing to wait for. After a failed Start, waits for any child of the process;
  /// normally there is none.
  int Wait() const;

  /// The child's process id; -1 without a child.
  pid_t Id() const { return id_; }

 private:
  pid_t id_ = -1;
};

}  // namespace kvl
