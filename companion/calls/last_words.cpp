#include "companion/calls/last_words.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace kvl {
namespace {

constexpr std::array kEndings = {SIGINT, SIGTERM, SIGHUP};

// Global, because a signal handler has no other access to them.
std::string words_to_say, mark_to_see;

/// The signal handler: calls only async-signal-safe functions. SA_RESETHAND has restored the
/// default action, so the signal that it raises ends the process when the handler returns.
void Say(int signal) {
  if (::access(mark_to_see.c_str(), F_OK) == 0) {
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, words_to_say.data(), words_to_say.size());
  }
  ::raise(signal);
}

/// Sets the handler for all those signals that are not ignored.
void Handle(void (*handler)(int)) {
  for (const int signal : kEndings) {
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace

LastWords::LastWords(std::string words, std::string mark) {
  words_to_say = std::move(words);
  mark_to_see = std::move(mark);
  Handle(&Say);
}

LastWords::~LastWords() {
  Handle(SIG_DFL);
}

}  // namespace kvl
