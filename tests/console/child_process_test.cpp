#include "console/child_process.h"

#include "console/signals.h"
#include "tests/console/fake_child.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr char kShell[] = "/bin/sh";

/// Returns the result of the wait for a child with these arguments.
int ExitCodeOf(const std::vector<std::string>& arguments) {
  const SignalScope signals;
  ChildProcess child;
  EXPECT_TRUE(child.Start(arguments, signals));
  return child.Wait();
}

/// Returns the exit code of such a child as the system reports it.
int RawExitCodeOf(const std::vector<std::string>& arguments) {
  const SignalScope signals;
  ChildProcess child;
  EXPECT_TRUE(child.Start(arguments, signals));
  int status = 0;
  if (::waitpid(child.Id(), &status, 0) != child.Id() || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST(ChildProcess, KnowsItsIdOnceStarted) {
  const FakeChild fake;
  const SignalScope signals;
  ChildProcess child;
  EXPECT_EQ(child.Id(), -1);
  ASSERT_TRUE(child.Start({fake.Program()}, signals));
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_EQ(fake.Report().facts.at("process"), std::to_string(child.Id()));
}

TEST(ChildProcess, KeepsGroupSessionUserDirectoryAndUmask) {
  const FakeChild fake;
  const std::string directory = fake.Directory().MakeDir("work");
  const Outcome outcome = RunIsolated([&] {
    fs::current_path(directory);
    ::umask(0053);
    std::cout << ::getpid();
    return ExitCodeOf({fake.Program()});
  });
  EXPECT_EQ(outcome.status, 0);
  const ChildReport report = fake.Report();
  EXPECT_EQ(report.directory, directory);
  EXPECT_EQ(report.facts.at("umask"), std::to_string(0053));
  EXPECT_EQ(report.facts.at("parent"), outcome.out);
  EXPECT_EQ(report.facts.at("group"), std::to_string(::getpgrp()));
  EXPECT_EQ(report.facts.at("session"), std::to_string(::getsid(0)));
  EXPECT_EQ(report.facts.at("user"),
            std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
}

TEST(ChildProcess, GetsItsArgumentsUnchangedIncludingEmptyOnes) {
  const FakeChild fake;
  std::string bytes;
  for (int byte = 1; byte <= 255; ++byte) bytes.push_back(static_cast<char>(byte));
  const std::vector<std::string> arguments = {fake.Program(), "", " a 'b\" ", "", "\\", bytes};
  EXPECT_EQ(ExitCodeOf(arguments), 0);
  EXPECT_EQ(fake.Report().arguments, arguments);
}

TEST(ChildProcess, IsSearchedOnPathUnlessItsNameHoldsASlash) {
  const FakeChild fake;
  fake.Directory().Link("bin/a", fake.Program());
  fake.Directory().Link("here/a", kShell);
  ::setenv("PATH", ("/nonexistent:" + fake.Directory().Path("bin")).c_str(), 1);
  const auto run = [&](const std::string& name, const std::string& directory) {
    return RunIsolated([&] {
             fs::current_path(fake.Directory().Path(directory));
             return ExitCodeOf({name, "-c", "exit 3"});
           })
        .status;
  };
  EXPECT_EQ(run("a", "here"), 0);
  EXPECT_THAT(fake.Report().arguments, ElementsAre("a", "-c", "exit 3"));
  EXPECT_EQ(run("./a", "here"), 3);
  EXPECT_EQ(run("here/a", "."), 3);
}

TEST(ChildProcess, RunsAScriptWithoutAnInterpreterLineByTheShell) {
  const TestDirectory directory;
  const std::string script = directory.Write("script", "exit $1\n");
  SetMode(script, 0755);
  EXPECT_EQ(ExitCodeOf({script, "7"}), 7);
}

TEST(ChildProcess, EndsWith251WhenItsProgramCannotBeRun) {
  const TestDirectory directory;
  SetMode(directory.Write("not-executable", "exit 0\n"), 0644);
  SetMode(directory.Write("no-interpreter", "#!/nonexistent/shell\n"), 0755);
  directory.Link("dangling", "nowhere");
  const ScopedEnv env(Environment{{"PATH", directory.Path()}});
  const std::string a_directory = directory.Path(), argument_too_long(1 << 20, 'x');
  const std::vector<std::vector<std::string>> rows = {
      {"missing"},
      {directory.Path("missing")},
      {a_directory},
      {"not-executable"},
      {directory.Path("not-executable")},
      {directory.Path("not-executable/below-a-file")},
      {directory.Path("no-interpreter")},
      {directory.Path("dangling")},
      {std::string(300, 'x')},
      {kShell, argument_too_long},
  };
  for (const std::vector<std::string>& arguments : rows) {
    EXPECT_EQ(RawExitCodeOf(arguments), 251) << arguments.front();
  }
}

TEST(ChildProcess, EndsWith252WhenItsArgumentsAreCalledInvalid) {
  const FailingCall failing(FailingCall::kExecVp, EINVAL);
  EXPECT_EQ(RawExitCodeOf({kShell}), 252);
}

TEST(ChildProcess, RunsNoExitHandlersAndFlushesNoStreamsOfItsParent) {
  const Outcome outcome = RunIsolated([] {
    std::fputs("buffered ", stdout);
    std::atexit([] { std::fputs("at the end ", stdout); });
    return RawExitCodeOf({"missing"});
  });
  EXPECT_EQ(outcome, (Outcome{251, "buffered "}));
}

TEST(ChildProcess, IsNotStartedWithoutArgumentsOrWhenForkFails) {
  const SignalScope signals;
  ChildProcess child;
  EXPECT_FALSE(child.Start({}, signals));
  EXPECT_EQ(child.Id(), -1);
  const FailingCall failing(FailingCall::kFork, EAGAIN);
  EXPECT_FALSE(child.Start({kShell}, signals));
  EXPECT_EQ(child.Id(), -1);
}

TEST(ChildProcess, HasNoExitCodeAfterADeathByASignal) {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGKILL, SIGPIPE, SIGUSR1, SIGXFSZ}) {
    const FakeChild fake{{"FAKE_SIGNAL", std::to_string(signal)}};
    EXPECT_EQ(RunIsolated([&] { return ExitCodeOf({fake.Program()}); }).status, kMinusOneAsStatus);
    EXPECT_TRUE(fake.Report().started) << signal;
  }
}

TEST(ChildProcess, GoesOnWaitingAfterASignalThatTheProcessHandles) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // ends an endless wait
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, nullptr);
    return ExitCodeOf({kShell, "-c", "kill -USR1 $PPID && exit 7"});
  });
  EXPECT_EQ(outcome.status, 7);
}

}  // namespace
}  // namespace kvl::test
