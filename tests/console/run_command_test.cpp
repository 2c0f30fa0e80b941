#include "console/run_command.h"

#include <pthread.h>

#include "console/logger.h"
#include "tests/console/fake_child.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr bool kDoNotWait = false;

std::string CannotCreate(const std::string& command) {
  return "ERROR: Cannot create process " + command + "\n";
}

std::string CannotWait(const std::string& command) {
  return "ERROR: Cannot wait for process " + command + "\n";
}

TEST(RunCommand, PassesOnEveryExitCodeUpTo250) {
  const FakeChild child;
  for (const int code : {0, 1, 2, 12, 127, 128, 249, 250, 251, 252, 253, 255}) {
    ::setenv("FAKE_EXIT", std::to_string(code).c_str(), 1);
    const Outcome expected =
        code <= 250 ? Outcome{code} : Outcome{-1, "", CannotWait(child.Program())};
    EXPECT_EQ(RunCaught(child.Program()), expected) << code;
  }
}

TEST(RunCommand, StartsTheProgramOnPathWithOneQuotedArgument) {
  const FakeChild child;
  child.Directory().Link("bin/a", child.Program());
  ::setenv("PATH", child.Directory().Path("bin").c_str(), 1);
  EXPECT_EQ(RunCaught("  a  'b c'  "), Outcome{0});
  EXPECT_THAT(child.Report().arguments, ElementsAre("a", "b c"));
}

TEST(RunCommand, CannotWaitForAKilledChildOrWhatCannotBeRun) {
  const TestDirectory directory;
  const std::string missing = directory.Path("missing"), a_directory = directory.Path();
  for (const std::string& command : {std::string("/bin/sh -c 'kill -KILL $$'"), missing,
                                     "\"" + missing + "\" \"-CDpath\" \"/m\"", a_directory,
                                     std::string("  no-such-program-on-the-path  'b c' ")}) {
    EXPECT_EQ(RunCaught(command), (Outcome{-1, "", CannotWait(command)}));
  }
}

TEST(RunCommand, CannotCreateAChildForAnEmptyCommand) {
  for (const std::string command : {"", "   ", "''", " \"\" '' \\"}) {
    EXPECT_EQ(RunIsolated([&] { return RunBare(command); }),
              (Outcome{kMinusOneAsStatus, "", CannotCreate(command) + CannotWait(command)}));
  }
}

TEST(RunCommand, SaysBothWhenForkFails) {
  const std::string command = "  prog  \"b c\" '' \\d ";
  const Outcome outcome = RunIsolated([&] {
    const FailingCall failing(FailingCall::kFork, EAGAIN);
    return RunBare(command);
  });
  EXPECT_EQ(outcome, (Outcome{kMinusOneAsStatus, "", CannotCreate(command) + CannotWait(command)}));
}

TEST(RunCommand, TakesAnyOtherChildsExitCodeAfterAFailedFork) {
  const Outcome outcome = RunIsolated([] {
    if (::fork() == 0) ::_exit(7);
    const FailingCall failing(FailingCall::kFork, EAGAIN);
    return RunBare("prog");
  });
  EXPECT_EQ(outcome, (Outcome{7, "", CannotCreate("prog")}));
}

TEST(RunCommand, SaysThatTheWaitFailed) {
  const FakeChild child{{"FAKE_EXIT", "7"}};
  const Outcome outcome = RunIsolated([&] {
    const FailingCall failing(FailingCall::kWaitPid, ECHILD);
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome, (Outcome{kMinusOneAsStatus, "", CannotWait(child.Program())}));
}

TEST(RunCommand, GoesOnWaitingWhenInterrupted) {
  const FakeChild child{{"FAKE_EXIT", "7"}};
  const FailingCall failing(FailingCall::kWaitPid, EINTR, /*after=*/0, /*times=*/2);
  EXPECT_EQ(RunCaught(child.Program()), Outcome{7});
}

TEST(RunCommand, ReturnsAtOnceWhenNotWaiting) {
  const TestDirectory directory;
  const std::string pipe = directory.Pipe("pipe");
  const Outcome outcome = RunIsolated([&] {
    ::alarm(60);  // ends a wait for a child that waits for this process
    if (RunBare("/bin/sh -c 'read code < " + pipe + "; exit $code'", kDoNotWait) != 0) return 1;
    std::ofstream(pipe) << "9\n";
    int status = 0;
    ::waitpid(-1, &status, 0);
    return WEXITSTATUS(status);
  });
  EXPECT_EQ(outcome, Outcome{9});
}

TEST(RunCommand, ReturnsZeroWithoutWaitingEvenWhenNothingStarted) {
  const FailingCall failing(FailingCall::kFork, EAGAIN);
  for (const std::string command : {"prog", " "}) {
    EXPECT_EQ(RunCaught(command, kDoNotWait), (Outcome{0, "", CannotCreate(command)}));
  }
}

/// Somebody types at the very moment at which the child has been made.
TEST(RunCommand, LeavesTheKeyboardToTheChildBeforeItIsMade) {
  const FakeChild child{{"FAKE_EXIT", "7"}};
  const Outcome outcome = RunIsolated([&] {
    const auto type = [] { ::raise(SIGINT); };
    ::signal(SIGINT, SIG_DFL);
    ::pthread_atfork(/*prepare=*/nullptr, type, /*child=*/nullptr);
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome, Outcome{7});
}

TEST(RunCommand, GivesTheEnvironmentAndAnEmptyPanelVariable) {
  for (const Environment& callers :
       {Environment{{"A", "1"}, {"EMPTY", ""}}, Environment{{"PANELV2ODOTOP", "of the user"}}}) {
    const FakeChild child(callers);
    Environment expected = CurrentEnvironment();
    expected["PANELV2ODOTOP"] = "";
    EXPECT_EQ(RunCaught(child.Program()), Outcome{0});
    EXPECT_EQ(child.Report().env, expected);
  }
}

TEST(RunCommand, SetsThePanelVariableEvenWhenNothingStarts) {
  const ScopedEnv env(Environment{{"PANELV2ODOTOP", "of the user"}, {"A", "1"}});
  RunCaught("", kDoNotWait);
  EXPECT_EQ(CurrentEnvironment(), (Environment{{"PANELV2ODOTOP", ""}, {"A", "1"}}));
}

TEST(RunCommand, KeepsMessagesAndTheChildsOutputInOrder) {
  const FakeChild child{{"FAKE_PRINT", "child\n"}};
  const Outcome said = Catch([&] {
    Logger logger;
    logger.Message("before", kInformation, kMarked);
    RunBare(child.Program());
    logger.Message("after", kInformation, kMarked);
  });
  EXPECT_EQ(said, (Outcome{0, " INFO: before\nchild\n INFO: after\n", ""}));
}

TEST(RunCommand, StartsTheChildThoughTheConsoleTakesNothing) {
  const FakeChild child{{"FAKE_EXIT", "7"}};
  for (const bool nobody_reads : {false, true}) {
    const Outcome outcome = RunIsolated([&] {
      ::signal(SIGPIPE, SIG_DFL);
      int pipe[2] = {-1, ::open("/dev/full", O_WRONLY | O_CLOEXEC)};
      if (nobody_reads && ::pipe2(pipe, O_CLOEXEC) != 0) return 99;
      for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) ::dup2(pipe[1], stream);
      ::close(pipe[0]);
      RunBare("''");  // loses two messages
      return RunBare(child.Program());
    });
    EXPECT_EQ(outcome.status, 7) << nobody_reads;
    EXPECT_EQ(child.Report().facts.at("SIGPIPE"), "default");
  }
}

TEST(RunCommand, ReturnsTheExitCodeThoughTheCallerIgnoresDeadChildren) {
  const FakeChild child{{"FAKE_EXIT", "7"}};
  const Outcome outcome = RunIsolated([&] {
    ::signal(SIGCHLD, SIG_IGN);
    return RunBare(child.Program());
  });
  EXPECT_EQ(outcome, Outcome{7});
  EXPECT_EQ(child.Report().facts.at("SIGCHLD"), "ignored");
}

}  // namespace
}  // namespace kvl::test
