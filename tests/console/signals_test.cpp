#include "console/signals.h"

#include "console/child_process.h"
#include "tests/console/fake_child.h"

namespace kvl::test {
namespace {

using Handler = void (*)(int);

void OwnHandler(int) {}

/// The signals that the launcher needs in a state of its own, and two whose action it leaves alone.
constexpr std::array kSignals = {SIGPIPE, SIGXFSZ, SIGCHLD, SIGINT, SIGQUIT};
using Handlers = std::array<Handler, kSignals.size()>;

Handlers CurrentHandlers() {
  Handlers handlers;
  std::transform(kSignals.begin(), kSignals.end(), handlers.begin(), [](int signal) {
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
  });
  return handlers;
}

/// The settings that a caller may have left.
class CallersHandlers : public testing::TestWithParam<Handler> {
 protected:
  void SetUp() override {
    for (const int signal : kSignals) ::signal(signal, GetParam());
  }
  void TearDown() override {
    for (std::size_t i = 0; i < kSignals.size(); ++i) ::signal(kSignals[i], before_[i]);
  }

  const Handlers in_scope_ = {GetParam(), GetParam(), SIG_DFL, GetParam(), GetParam()};

 private:
  const Handlers before_ = CurrentHandlers();
};

TEST_P(CallersHandlers, AreReplacedAndRestoredByASignalScope) {
  const Handlers callers = CurrentHandlers();
  {
    const SignalScope signals;
    EXPECT_EQ(CurrentHandlers(), in_scope_);
  }
  EXPECT_EQ(CurrentHandlers(), callers);
}

TEST_P(CallersHandlers, ReachOnlyTheChild) {
  const FakeChild fake;
  SignalScope signals;
  signals.LeaveTheKeyboardToTheChild();
  ChildProcess child;
  ASSERT_TRUE(child.Start({fake.Program()}, signals));
  EXPECT_EQ(CurrentHandlers(), in_scope_);
  ASSERT_EQ(child.Wait(), 0);
  // A new program has no handler of its own yet.
  const std::string expected = GetParam() == SIG_IGN ? "ignored" : "default";
  const auto facts = fake.Report().facts;
  for (const char* signal : {"SIGPIPE", "SIGXFSZ", "SIGCHLD", "SIGINT", "SIGQUIT"}) {
    EXPECT_EQ(facts.at(signal), expected) << signal;
  }
}

INSTANTIATE_TEST_SUITE_P(Each, CallersHandlers, testing::Values(SIG_DFL, SIG_IGN, OwnHandler),
                         [](const auto& row) {
                           return row.param == SIG_DFL   ? "Default"
                                  : row.param == SIG_IGN ? "Ignored"
                                                         : "Own";
                         });

// A caller that does not wait for its children would get no exit code either.
TEST(SignalScope, GivesBackFlagsAndMaskOfAHandlerToo) {
  for (const auto& [handler, flags] :
       {std::pair<Handler, int>(OwnHandler, SA_RESTART | SA_NODEFER), {SIG_DFL, SA_NOCLDWAIT}}) {
    const Outcome outcome = RunIsolated([&, handler = handler, flags = flags] {
      struct sigaction callers = {}, in_scope = {}, now = {};
      callers.sa_handler = handler;
      callers.sa_flags = flags;
      ::sigaddset(&callers.sa_mask, SIGUSR2);
      ::sigaction(SIGCHLD, &callers, nullptr);
      {
        const SignalScope signals;
        ::sigaction(SIGCHLD, nullptr, &in_scope);
      }
      ::sigaction(SIGCHLD, nullptr, &now);
      std::cout << (in_scope.sa_flags & flags) << " " << (now.sa_handler == handler) << " "
                << (now.sa_flags & flags) << " " << ::sigismember(&now.sa_mask, SIGUSR2);
      return 0;
    });
    EXPECT_EQ(outcome.out, "0 1 " + std::to_string(flags) + " 1");
  }
}

std::vector<int> BlockedSignals() {
  sigset_t mask;
  ::sigprocmask(SIG_BLOCK, nullptr, &mask);
  std::vector<int> signals;
  for (int signal = 1; signal < SIGRTMIN; ++signal) {
    if (::sigismember(&mask, signal) == 1) signals.push_back(signal);
  }
  return signals;
}

TEST(SignalScope, BlocksTwoSignalsAndTheKeyboardsOnRequest) {
  const auto callers = BlockedSignals();
  {
    SignalScope signals;
    auto expected = callers;
    expected.insert(expected.end(), {SIGPIPE, SIGXFSZ});
    EXPECT_THAT(BlockedSignals(), testing::UnorderedElementsAreArray(expected));
    signals.LeaveTheKeyboardToTheChild();
    expected.insert(expected.end(), {SIGINT, SIGQUIT});
    EXPECT_THAT(BlockedSignals(), testing::UnorderedElementsAreArray(expected));
  }
  EXPECT_EQ(BlockedSignals(), callers);
}

TEST(SignalScope, DiscardsTheSignalsThatItBlocked) {
  const Outcome outcome = RunIsolated([] {
    SignalScope signals;
    signals.LeaveTheKeyboardToTheChild();
    for (const int signal : {SIGXFSZ, SIGPIPE, SIGINT, SIGQUIT}) ::raise(signal);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// A child that exists but has not started its program yet ends when somebody types.
TEST(SignalScope, LetsEverySignalOfTheKeyboardReachTheChild) {
  for (const int signal : {SIGINT, SIGQUIT}) {
    const Outcome outcome = RunIsolated([&] {
      ::signal(signal, SIG_DFL);
      SignalScope signals;
      signals.LeaveTheKeyboardToTheChild();
      ::raise(signal);
      signals.GiveBack();
      return 0;
    });
    EXPECT_EQ(outcome.status, -signal);
  }
}

TEST(SignalScope, LeavesTheSignalMaskToTheChildAsItWas) {
  const FakeChild fake;
  const Outcome outcome = RunIsolated([&] {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : {SIGUSR1, SIGPIPE}) ::sigaddset(&blocked, signal);
    ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
    return RunBare(fake.Program());
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(fake.Report().facts.at("blocked"),
            std::to_string(SIGUSR1) + " " + std::to_string(SIGPIPE) + " ");
}

}  // namespace
}  // namespace kvl::test
