#include "console/child_process.h"

#include "console/signals.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kShell[] = "/bin/sh";

/// What the system says of a started child, with nothing folded.
int RawExitCode(const ChildProcess& child) {
  int status = 0;
  if (::waitpid(child.Id(), &status, 0) != child.Id() || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST(ChildProcess, KnowsItsIdOnceStarted) {
  const FakeChild fake;
  const ScopedEnv env(fake.Env());
  const SignalScope signals;
  ChildProcess child;
  EXPECT_EQ(child.Id(), -1);
  EXPECT_TRUE(child.Start({fake.Program()}, signals));
  EXPECT_GT(child.Id(), 0);
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_EQ(fake.Report().facts.at("process"), std::to_string(child.Id()));
}

TEST(ChildProcess, IsADirectChildInTheSameGroupAndSession) {
  const FakeChild fake;
  const ScopedEnv env(fake.Env());
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({fake.Program()}, signals));
  ASSERT_EQ(child.Wait(), 0);
  const auto facts = fake.Report().facts;
  EXPECT_EQ(facts.at("parent"), std::to_string(::getpid()));
  EXPECT_EQ(facts.at("group"), std::to_string(::getpgrp()));
  EXPECT_EQ(facts.at("session"), std::to_string(::getsid(0)));
  EXPECT_EQ(facts.at("user"), std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
}

TEST(ChildProcess, KeepsTheDirectoryAndTheUmask) {
  const FakeChild fake;
  const ScopedEnv env(fake.Env());
  const std::string directory = fake.Directory().MakeDir("work");
  const Outcome outcome = RunIsolated([&] {
    if (::chdir(directory.c_str()) != 0) return 1;
    ::umask(0053);
    const SignalScope signals;
    ChildProcess child;
    child.Start({fake.Program()}, signals);
    return child.Wait();
  });
  EXPECT_EQ(outcome.status, 0);
  const ChildReport report = fake.Report();
  EXPECT_EQ(report.directory, directory);
  EXPECT_EQ(report.facts.at("umask"), std::to_string(0053));
}

TEST(ChildProcess, GetsItsArgumentsAsTheyAreEmptyOnesToo) {
  const FakeChild fake;
  const ScopedEnv env(fake.Env());
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({fake.Program(), "", " a 'b\" ", "", "\\"}, signals));
  ASSERT_EQ(child.Wait(), 0);
  EXPECT_THAT(fake.Report().arguments, ElementsAre(fake.Program(), "", " a 'b\" ", "", "\\"));
}

TEST(ChildProcess, IsSearchedOnPathUnlessItsNameHoldsASlash) {
  const FakeChild fake;
  fake.Directory().Link("bin/a", fake.Program());
  fake.Directory().Link("here/a", kShell);
  const ScopedEnv env(fake.Env({{"PATH", "/nonexistent:" + fake.Directory().Path("bin")}}));
  const auto run = [&](const std::string& name, const std::string& directory) {
    return RunIsolated([&] {
      const SignalScope signals;
      ChildProcess child;
      if (::chdir(fake.Directory().Path(directory).c_str()) != 0) return 99;
      child.Start({name, "-c", "exit 3"}, signals);
      return child.Wait();
    });
  };
  EXPECT_EQ(run("a", "here").status, 0);
  EXPECT_THAT(fake.Report().arguments, ElementsAre("a", "-c", "exit 3"));
  EXPECT_EQ(run("./a", "here").status, 3);
  EXPECT_EQ(run("here/a", ".").status, 3);
}

TEST(ChildProcess, RunsAScriptWithoutAnInterpreterLineByTheShell) {
  const TestDirectory directory;
  const std::string script = directory.Write("script", "exit $1\n");
  SetMode(script, 0755);
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({script, "7"}, signals));
  EXPECT_EQ(child.Wait(), 7);
}

TEST(ChildProcess, EndsWith251WhenItsProgramCannotBeRun) {
  const TestDirectory directory;
  SetMode(directory.Write("not-executable", "exit 0\n"), 0644);
  SetMode(directory.Write("no-interpreter", "#!/nonexistent/shell\n"), 0755);
  directory.Link("dangling", "nowhere");
  const ScopedEnv env(Environment{{"PATH", directory.Path()}});
  const std::vector<std::string> programs = {
      "missing",
      directory.Path("missing"),
      directory.Path(),  // a directory
      "not-executable",
      directory.Path("not-executable"),
      directory.Path("not-executable/below-a-file"),
      directory.Path("no-interpreter"),
      directory.Path("dangling"),
      std::string(300, 'x'),
  };
  for (const std::string& program : programs) {
    const SignalScope signals;
    ChildProcess child;
    EXPECT_TRUE(child.Start({program}, signals)) << program;
    EXPECT_EQ(RawExitCode(child), 251) << program;
  }
}

TEST(ChildProcess, EndsWith251WhenAnArgumentIsTooLong) {
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({kShell, std::string(1 << 20, 'x')}, signals));
  EXPECT_EQ(RawExitCode(child), 251);
}

TEST(ChildProcess, EndsWith252WhenTheSystemCallsItsArgumentsInvalid) {
  const FailingCall failing(FailingCall::kExecVp, EINVAL);
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({kShell}, signals));
  EXPECT_EQ(RawExitCode(child), 252);
}

TEST(ChildProcess, IsNotStartedWithoutArguments) {
  const SignalScope signals;
  ChildProcess child;
  EXPECT_FALSE(child.Start({}, signals));
  EXPECT_EQ(child.Id(), -1);
}

TEST(ChildProcess, IsNotStartedWhenForkFails) {
  const FailingCall failing(FailingCall::kFork, EAGAIN);
  const SignalScope signals;
  ChildProcess child;
  EXPECT_FALSE(child.Start({kShell, "-c", "exit 0"}, signals));
  EXPECT_EQ(child.Id(), -1);
}

TEST(ChildProcess, HasNoExitCodeAfterADeathByASignal) {
  for (const int signal :
       {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGKILL, SIGSEGV, SIGPIPE, SIGTERM, SIGUSR1, SIGXFSZ}) {
    const FakeChild fake;
    const ScopedEnv env(fake.Env({{"FAKE_SIGNAL", std::to_string(signal)}}));
    const Outcome outcome = RunIsolated([&] {
      const rlimit no_core_file = {0, 0};
      ::setrlimit(RLIMIT_CORE, &no_core_file);
      const SignalScope signals;
      ChildProcess child;
      child.Start({fake.Program()}, signals);
      return child.Wait();
    });
    EXPECT_TRUE(fake.Report().started) << signal;
    EXPECT_EQ(outcome.status, kMinusOneAsStatus) << signal;
  }
}

TEST(ChildProcess, GoesOnWaitingWhenInterrupted) {
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({kShell, "-c", "exit 7"}, signals));
  const FailingCall failing(FailingCall::kWaitPid, EINTR, /*after=*/0, /*times=*/3);
  EXPECT_EQ(child.Wait(), 7);
}

TEST(ChildProcess, GoesOnWaitingAfterASignalThatTheProcessHandles) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // instead of a wait without an end
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, nullptr);
    const SignalScope signals;
    ChildProcess child;
    child.Start({kShell, "-c", "kill -USR1 $PPID && exit 7"}, signals);
    return child.Wait();
  });
  EXPECT_EQ(outcome.status, 7);
}

TEST(ChildProcess, HasNoExitCodeWhenTheWaitFails) {
  const Outcome outcome = RunIsolated([] {
    const SignalScope signals;
    ChildProcess child;
    child.Start({kShell, "-c", "exit 7"}, signals);
    const FailingCall failing(FailingCall::kWaitPid, EFAULT);
    return child.Wait();
  });
  EXPECT_EQ(outcome.status, kMinusOneAsStatus);
}

TEST(ChildProcess, HasItsExitCodeOnlyOnce) {
  const SignalScope signals;
  ChildProcess child;
  ASSERT_TRUE(child.Start({kShell, "-c", "exit 7"}, signals));
  EXPECT_EQ(child.Wait(), 7);
  EXPECT_EQ(child.Wait(), kNoExitCode);
}

TEST(ChildProcess, NeverStartedHasNoExitCode) {
  EXPECT_EQ(RunIsolated([] { return ChildProcess().Wait(); }).status, kMinusOneAsStatus);
}

TEST(ChildProcess, NeverStartedWaitsForAnyOtherChild) {
  const Outcome outcome = RunIsolated([] {
    const SignalScope signals;
    ChildProcess other;
    other.Start({kShell, "-c", "exit 7"}, signals);
    return ChildProcess().Wait();
  });
  EXPECT_EQ(outcome.status, 7);
}

}  // namespace
}  // namespace kvl::test
