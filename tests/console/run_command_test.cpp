#include "console/run_command.h"

#include "console/logger.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr bool kDoNotWait = false;

std::string CannotCreate(const std::string& command) {
  return "ERROR: Cannot create process " + command + "\n";
}

std::string CannotWait(const std::string& command) {
  return "ERROR: Cannot wait for process " + command + "\n";
}

TEST(RunCommand, HandsEveryExitCodeOnUpTo250) {
  const FakeChild child;
  for (int code = 0; code <= 255; ++code) {
    const ScopedEnv env(child.Env({{"FAKE_EXIT", std::to_string(code)}}));
    const Ran ran = RunCaught(child.Program());
    EXPECT_EQ(ran.code, code <= 250 ? code : -1) << "child ended with " << code;
    EXPECT_EQ(ran.err, code <= 250 ? "" : CannotWait(child.Program())) << code;
    EXPECT_EQ(ran.out, "") << code;
  }
}

TEST(RunCommand, StartsTheProgramOnPathWithOneQuotedArgument) {
  const FakeChild child;
  child.Directory().Link("bin/a", child.Program());
  const ScopedEnv env(child.Env({{"PATH", child.Directory().Path("bin")}}));
  EXPECT_EQ(RunCaught("  a  'b c'  ").code, 0);
  EXPECT_THAT(child.Report().arguments, ElementsAre("a", "b c"));
}

TEST(RunCommand, CannotWaitForAKilledChild) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_SIGNAL", "9"}}));
  const Ran ran = RunCaught(child.Program());
  EXPECT_TRUE(child.Report().started);
  EXPECT_EQ(ran.code, -1);
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err, CannotWait(child.Program()));
}

TEST(RunCommand, CannotWaitForAProgramThatCannotBeRun) {
  const TestDirectory directory;
  const std::vector<std::string> commands = {
      directory.Path("missing"),
      "\"" + directory.Path("missing") + "\" \"-CDpath\" \"/m\"",
      directory.Path(),  // a directory
      "  no-such-program-on-the-path  'b c' ",
  };
  for (const std::string& command : commands) {
    const Ran ran = RunCaught(command);
    EXPECT_EQ(ran.code, -1) << command;
    EXPECT_EQ(ran.out, "") << command;
    EXPECT_EQ(ran.err, CannotWait(command));
  }
}

TEST(RunCommand, CannotCreateAChildForAnEmptyCommand) {
  for (const std::string command : {"", "   ", "''", " \"\" '' \\"}) {
    const Outcome outcome = RunIsolated([&] { return RunBare(command); });
    EXPECT_EQ(outcome.status, kMinusOneAsStatus) << command;
    EXPECT_EQ(outcome.out, "") << command;
    EXPECT_EQ(outcome.err, CannotCreate(command) + CannotWait(command));
  }
}

TEST(RunCommand, SaysBothWhenForkFails) {
  const std::string command = "  prog  \"b c\" '' \\d ";
  const Outcome outcome = RunIsolated([&] {
    const FailingCall failing(FailingCall::kFork, EAGAIN);
    return RunBare(command);
  });
  EXPECT_EQ(outcome.status, kMinusOneAsStatus);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, CannotCreate(command) + CannotWait(command));
}

TEST(RunCommand, TakesAnyOtherChildsExitCodeAfterAFailedFork) {
  const Outcome outcome = RunIsolated([] {
    if (::fork() == 0) ::_exit(7);
    const FailingCall failing(FailingCall::kFork, EAGAIN);
    return RunBare("prog");
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.err, CannotCreate("prog"));
}

TEST(RunCommand, SaysThatTheWaitFailed) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}}));
  const Outcome outcome = RunIsolated([&] {
    const FailingCall failing(FailingCall::kWaitPid, ECHILD);
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome.status, kMinusOneAsStatus);
  EXPECT_EQ(outcome.err, CannotWait(child.Program()));
}

TEST(RunCommand, GoesOnWaitingWhenInterrupted) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}}));
  const FailingCall failing(FailingCall::kWaitPid, EINTR, /*after=*/0, /*times=*/2);
  const Ran ran = RunCaught(child.Program());
  EXPECT_EQ(ran.code, 7);
  EXPECT_EQ(ran.err, "");
}

TEST(RunCommand, ReturnsAtOnceWhenNotWaiting) {
  const TestDirectory directory;
  const std::string pipe = directory.Pipe("pipe");
  const Outcome outcome = RunIsolated([&] {
    ::alarm(60);  // instead of waiting for a child that waits for us
    if (RunBare("/bin/sh -c 'read code < " + pipe + "; exit $code'", kDoNotWait) != 0) return 1;
    std::ofstream(pipe) << "9\n";
    int status = 0;
    ::waitpid(-1, &status, 0);
    return WEXITSTATUS(status);
  });
  EXPECT_EQ(outcome.status, 9);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
}

TEST(RunCommand, ReturnsZeroWithoutWaitingEvenWhenNothingStarted) {
  const Outcome fork_failed = RunIsolated([] {
    const FailingCall failing(FailingCall::kFork, EAGAIN);
    return RunBare("prog", kDoNotWait);
  });
  EXPECT_EQ(fork_failed.status, 0);
  EXPECT_EQ(fork_failed.err, CannotCreate("prog"));

  const Outcome empty = RunIsolated([] { return RunBare(" ", kDoNotWait); });
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.err, CannotCreate(" "));
}

TEST(RunCommand, GivesTheChildTheWholeEnvironmentAndAnEmptyPanelVariable) {
  const FakeChild child;
  for (const Environment& callers :
       {Environment{{"A", "1"}, {"EMPTY", ""}}, Environment{{"PANELV2ODOTOP", "of the user"}}}) {
    Environment expected = child.Env(callers);
    expected["PANELV2ODOTOP"] = "";
    const ScopedEnv env(child.Env(callers));
    EXPECT_EQ(RunCaught(child.Program()).code, 0);
    EXPECT_EQ(child.Report().env, expected);
  }
}

TEST(RunCommand, SetsThePanelVariableEvenWhenNothingStarts) {
  const ScopedEnv env(Environment{{"PANELV2ODOTOP", "of the user"}, {"A", "1"}});
  RunCaught("", kDoNotWait);
  EXPECT_EQ(CurrentEnvironment(), (Environment{{"PANELV2ODOTOP", ""}, {"A", "1"}}));
}

TEST(RunCommand, KeepsMessagesAndTheChildsOutputInOrder) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_PRINT", "child\n"}}));
  const Outcome said = Catch([&] {
    Logger logger;
    logger.Message("before", kInformation, kMarked);
    RunBare(child.Program());
    logger.Message("after", kInformation, kMarked);
  });
  EXPECT_EQ(said.out, " INFO: before\nchild\n INFO: after\n");
  EXPECT_EQ(said.err, "");
}

TEST(RunCommand, StartsTheChildThoughTheConsoleTakesNothing) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}}));
  const Outcome outcome = RunIsolated([&] {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ::dup2(full, STDOUT_FILENO);
    ::dup2(full, STDERR_FILENO);
    RunBare("''");  // two messages that are lost
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_TRUE(child.Report().started);
}

TEST(RunCommand, StartsTheChildThoughNobodyReadsTheConsole) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}}));
  const Outcome outcome = RunIsolated([&] {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0) return 99;
    ::dup2(pipe[1], STDOUT_FILENO);
    ::dup2(pipe[1], STDERR_FILENO);
    ::close(pipe[0]);
    ::signal(SIGPIPE, SIG_DFL);
    RunBare("''");  // two messages that are lost
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(child.Report().facts.at("SIGPIPE"), "default");
}

TEST(RunCommand, HasTheExitCodeThoughTheCallerIgnoresDeadChildren) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}}));
  const Outcome outcome = RunIsolated([&] {
    ::signal(SIGCHLD, SIG_IGN);
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(child.Report().facts.at("SIGCHLD"), "ignored");
}

}  // namespace
}  // namespace kvl::test
