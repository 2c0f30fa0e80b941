#include "console/signals.h"

namespace kvl {
namespace {

struct Setting {
  int signal;
  void (*handler)(int);
};

const std::array kOwn = {
    Setting{SIGPIPE, SIG_IGN},
    Setting{SIGXFSZ, SIG_IGN},
    Setting{SIGCHLD, SIG_DFL},
};

}  // namespace

SignalScope::SignalScope() {
  static_assert(std::tuple_size_v<decltype(kOwn)> == kCount);
  for (std::size_t i = 0; i < kOwn.size(); ++i) {
    struct sigaction action = {};
    action.sa_handler = kOwn[i].handler;
    ::sigaction(kOwn[i].signal, &action, &callers_[i]);
  }
}

SignalScope::~SignalScope() {
  GiveBack();
}

void SignalScope::GiveBack() const {
  for (std::size_t i = 0; i < kOwn.size(); ++i) {
    ::sigaction(kOwn[i].signal, &callers_[i], nullptr);
  }
}

}  // namespace kvl
