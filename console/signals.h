// The signal settings that the launcher changes for itself and restores for its child.
#pragma once

#include <signal.h>

namespace kvl {

/// While a SignalScope lives, three signals have the setting that the launcher needs:
///  - SIGPIPE blocked: if the reader of the console goes away, the launcher loses a message, not
///    the installation.
///  - SIGXFSZ blocked: a file-size limit causes a write error with a message, not a silent death.
///  - SIGCHLD at its default: if the caller ignores it, the system would discard the installer's
///    exit code.
///
/// Every other signal stays as the caller left it. The scope blocks the first two signals, because
/// that takes one system call; ignoring them would take two, and two more in the child.
class SignalScope {
 public:
  SignalScope();

  /// Restores the caller's settings. Discards the signals that it blocked meanwhile.
  ~SignalScope();

  /// Blocks SIGINT and SIGQUIT as well, until the end of the scope, so that the child alone reacts
  /// to the keyboard. Call it before the child is made: then no such signal ends the launcher and
  /// leaves the child alone. A signal that reaches the child before its program starts still ends
  /// the child.
  void LeaveTheKeyboardToTheChild();

  SignalScope(const SignalScope&) = delete;
  SignalScope& operator=(const SignalScope&) = delete;

  /// Restores the caller's settings in the child between fork and exec. Does only what is allowed
  /// there; a new process has no pending signals to discard.
  void GiveBack() const;

 private:
  sigset_t blocked_;
  sigset_t callers_mask_ = {};  // empty if the system does not tell it
  struct sigaction callers_child_action_ = {};
};

}  // namespace kvl
