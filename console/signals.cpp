#include "console/signals.h"

#include <ctime>

namespace kvl {

SignalScope::SignalScope() {
  ::sigemptyset(&blocked_);
  ::sigaddset(&blocked_, SIGPIPE);
  ::sigaddset(&blocked_, SIGXFSZ);
  ::sigprocmask(SIG_BLOCK, &blocked_, &callers_mask_);

  struct sigaction standard = {};
  standard.sa_handler = SIG_DFL;
  ::sigaction(SIGCHLD, &standard, &callers_child_action_);
}

void SignalScope::LeaveTheKeyboardToTheChild() {
  ::sigaddset(&blocked_, SIGINT);
  ::sigaddset(&blocked_, SIGQUIT);
  ::sigprocmask(SIG_BLOCK, &blocked_, nullptr);
}

SignalScope::~SignalScope() {
  const timespec no_time = {};
  while (::sigtimedwait(&blocked_, nullptr, &no_time) != -1) {
  }
  GiveBack();
}

void SignalScope::GiveBack() const {
  const bool was_standard = callers_child_action_.sa_handler == SIG_DFL &&
                            (callers_child_action_.sa_flags & SA_NOCLDWAIT) == 0;
  if (!was_standard) ::sigaction(SIGCHLD, &callers_child_action_, nullptr);
  ::sigprocmask(SIG_SETMASK, &callers_mask_, nullptr);
}

}  // namespace kvl
