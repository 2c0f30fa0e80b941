#include "console/signals.h"

#include "console/child_process.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Handler = void (*)(int);

void OwnHandler(int) {}

Handler HandlerOf(int signal) {
  struct sigaction action = {};
  ::sigaction(signal, nullptr, &action);
  return action.sa_handler;
}

/// The signals that the launcher needs in a state of its own, and two whose action it does not touch.
constexpr std::array kSignals = {SIGPIPE, SIGXFSZ, SIGCHLD, SIGINT, SIGQUIT};
using Handlers = std::array<Handler, kSignals.size()>;

Handlers CurrentHandlers() {
  Handlers handlers;
  std::transform(kSignals.begin(), kSignals.end(), handlers.begin(), HandlerOf);
  return handlers;
}

/// The settings that a caller may have left.
class CallersHandlers : public testing::TestWithParam<Handler> {
 protected:
  CallersHandlers() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      before_[i] = ::signal(kSignals[i], GetParam());
    }
  }
  ~CallersHandlers() override {
    for (std::size_t i = 0; i < kSignals.size(); ++i) ::signal(kSignals[i], before_[i]);
  }
  CallersHandlers(const CallersHandlers&) = delete;
  CallersHandlers& operator=(const CallersHandlers&) = delete;

 private:
  Handlers before_{};
};

TEST_P(CallersHandlers, AreReplacedWhileASignalScopeLivesAndThenBack) {
  const Handlers callers = CurrentHandlers();
  {
    const SignalScope signals;
    EXPECT_EQ(CurrentHandlers(),
              (Handlers{GetParam(), GetParam(), SIG_DFL, GetParam(), GetParam()}));
  }
  EXPECT_EQ(CurrentHandlers(), callers);
}

TEST_P(CallersHandlers, AreWhatTheChildGets) {
  const FakeChild fake;
  const ScopedEnv env(fake.Env());
  SignalScope signals;
  signals.LeaveTheKeyboardToTheChild();
  ChildProcess child;
  ASSERT_TRUE(child.Start({fake.Program()}, signals));
  ASSERT_EQ(child.Wait(), 0);
  const auto facts = fake.Report().facts;
  // A program that is started has no handler of its own yet.
  const std::string expected = GetParam() == SIG_IGN ? "ignored" : "default";
  for (const char* signal : {"SIGPIPE", "SIGXFSZ", "SIGCHLD", "SIGINT", "SIGQUIT"}) {
    EXPECT_EQ(facts.at(signal), expected) << signal;
  }
}

TEST_P(CallersHandlers, AreGivenBackToTheChildOnly) {
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({"/bin/sh", "-c", "exit 0"}, signals));
  EXPECT_EQ(CurrentHandlers(), (Handlers{GetParam(), GetParam(), SIG_DFL, GetParam(), GetParam()}));
  EXPECT_EQ(child.Wait(), 0);
}

std::string NameOf(const testing::TestParamInfo<Handler>& row) {
  if (row.param == SIG_DFL) return "Default";
  return row.param == SIG_IGN ? "Ignored" : "Own";
}

INSTANTIATE_TEST_SUITE_P(Each, CallersHandlers, testing::Values(SIG_DFL, SIG_IGN, OwnHandler),
                         NameOf);

TEST(SignalScope, GivesBackFlagsAndMaskOfAHandlerToo) {
  const Outcome outcome = RunIsolated([] {
    constexpr int kFlags = SA_RESTART | SA_NODEFER;
    struct sigaction callers = {}, now = {};
    callers.sa_handler = OwnHandler;
    callers.sa_flags = kFlags;
    ::sigaddset(&callers.sa_mask, SIGUSR2);
    ::sigaction(SIGCHLD, &callers, nullptr);
    { const SignalScope signals; }
    ::sigaction(SIGCHLD, nullptr, &now);
    if (now.sa_handler != OwnHandler) return 1;
    if ((now.sa_flags & kFlags) != kFlags) return 2;
    return ::sigismember(&now.sa_mask, SIGUSR2) == 1 ? 0 : 3;
  });
  EXPECT_EQ(outcome.status, 0);
}

// Such a caller would get no exit code either.
TEST(SignalScope, GivesBackThatChildrenAreNotWaitedFor) {
  const Outcome outcome = RunIsolated([] {
    struct sigaction callers = {}, now = {};
    callers.sa_handler = SIG_DFL;
    callers.sa_flags = SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &callers, nullptr);
    {
      const SignalScope signals;
      ::sigaction(SIGCHLD, nullptr, &now);
      if ((now.sa_flags & SA_NOCLDWAIT) != 0) return 1;
    }
    ::sigaction(SIGCHLD, nullptr, &now);
    return (now.sa_flags & SA_NOCLDWAIT) != 0 ? 0 : 2;
  });
  EXPECT_EQ(outcome.status, 0);
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

TEST(SignalScope, BlocksTwoSignalsWhileItLivesAndThoseOfTheKeyboardOnRequest) {
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

TEST(SignalScope, ForgetsWhatCameInTheMeantime) {
  const Outcome outcome = RunIsolated([] {
    {
      SignalScope signals;
      signals.LeaveTheKeyboardToTheChild();
      for (const int signal : {SIGXFSZ, SIGPIPE, SIGINT, SIGQUIT}) ::raise(signal);
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// A child that has been made and has not started its program yet: what is typed then ends it.
TEST(SignalScope, LetsNoSignalOfTheKeyboardPassTheChildBy) {
  for (const int signal : {SIGINT, SIGQUIT}) {
    const Outcome outcome = RunIsolated([&] {
      const rlimit no_core_file = {0, 0};
      ::setrlimit(RLIMIT_CORE, &no_core_file);
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
  const ScopedEnv env(fake.Env());
  const Outcome outcome = RunIsolated([&] {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR1);
    ::sigaddset(&blocked, SIGPIPE);
    ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
    return RunBare(fake.Program());
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(fake.Report().facts.at("blocked"),
            std::to_string(SIGUSR1) + " " + std::to_string(SIGPIPE) + " ");
}

/// Writes twice into a file that may not grow beyond one byte. The errno of the second write.
int WriteBeyondTheSizeLimit(const std::string& path) {
  rlimit limit;
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = 1;
  ::setrlimit(RLIMIT_FSIZE, &limit);
  const rlimit no_core_file = {0, 0};
  ::setrlimit(RLIMIT_CORE, &no_core_file);
  std::FILE* file = std::fopen(path.c_str(), "we");
  if (::write(::fileno(file), "a", 1) != 1) return 0;
  return ::write(::fileno(file), "b", 1) < 0 ? errno : 0;
}

TEST(SignalScope, MakesAFileSizeLimitAWriteError) {
  const TestDirectory directory;
  const std::string path = directory.Path("file");
  const auto run = [&](bool in_scope) {
    return RunIsolated([&] {
      ::signal(SIGXFSZ, SIG_DFL);
      if (!in_scope) return WriteBeyondTheSizeLimit(path);
      const SignalScope signals;
      return WriteBeyondTheSizeLimit(path);
    });
  };
  EXPECT_EQ(run(false).status, -SIGXFSZ);
  EXPECT_EQ(run(true).status, EFBIG);
}

}  // namespace
}  // namespace kvl::test
