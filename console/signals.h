// The signal settings that the launcher changes for itself and gives back to its child.
#pragma once

#include <signal.h>

namespace kvl {

/// While it lives, three signals have the setting that the launcher needs:
///  - SIGPIPE blocked: a console whose reader went away costs a message, not the installation;
///  - SIGXFSZ blocked: a file-size limit becomes a write error with a message, not a silent death;
///  - SIGCHLD at its default: a caller that ignores it would make the system throw the installer's
///    exit code away.
/// All else stays as the caller left it. Blocking takes one system call for both signals, where
/// ignoring them takes two, and two more in the child.
class SignalScope {
 public:
  SignalScope();

  /// Puts the caller's settings back. What has been blocked in the meantime is forgotten.
  ~SignalScope();

  /// Blocks SIGINT and SIGQUIT too, until the end of the scope: what is typed at the terminal is the
  /// child's to answer. Called before the child is made, so that no such signal ends the launcher and
  /// leaves the child alone; a child that gets one before its own start is ended by it, not deaf to it.
  void LeaveTheKeyboardToTheChild();

  SignalScope(const SignalScope&) = delete;
  SignalScope& operator=(const SignalScope&) = delete;

  /// Puts the caller's settings back. For the child between fork and exec: it does nothing that is
  /// not allowed there, and a new process has no signals waiting.
  void GiveBack() const;

 private:
  sigset_t blocked_;
  sigset_t callers_mask_ = {};  // also what the child gets where the system tells no mask
  struct sigaction callers_child_action_ = {};
};

}  // namespace kvl
