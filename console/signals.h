// The signal settings that the launcher changes for itself and gives back to its child.
#pragma once

#include <signal.h>

#include <array>

namespace kvl {

/// While it lives, three signals have the setting that the launcher needs:
///  - SIGPIPE ignored: a console whose reader went away costs a message, not the installation;
///  - SIGXFSZ ignored: a file-size limit becomes a write error with a message, not a silent death;
///  - SIGCHLD at its default: a caller that ignores it would make the system throw the installer's
///    exit code away.
/// The signal mask and all other signals stay as the caller left them.
class SignalScope {
 public:
  SignalScope();

  /// Puts the caller's settings back.
  ~SignalScope();

  SignalScope(const SignalScope&) = delete;
  SignalScope& operator=(const SignalScope&) = delete;

  /// Puts the caller's settings back. For the child between fork and exec: it does nothing that is
  /// not allowed there.
  void GiveBack() const;

 private:
  static constexpr std::size_t kCount = 3;
  std::array<struct sigaction, kCount> callers_{};
};

}  // namespace kvl
