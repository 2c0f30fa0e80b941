// Whole runs: what the caller's streams, signals, descriptors and directory do to the launcher, and
// what of them reaches the installer.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A launch whose installer ends with 7, with something done to the launcher before it starts.
LaunchPlan Plan(const std::function<void()>& before) {
  return {.env = {{"FAKE_EXIT", "7"}}, .before = before};
}

ExpectedRun EndedWith7(ExpectedRun expected) {
  expected.status = 7;
  return expected;
}

TEST(RunCaller, ClosedStandardStreamsReceiveNoMessageAndStayClosedForTheInstaller) {
  struct Row {
    std::vector<int> closed;
    const char* left_open;
  };
  const std::vector<Row> rows = {{{}, "0 1 2 "}, {{0}, "1 2 "},  {{1}, "0 2 "},  {{2}, "0 1 "},
                                 {{0, 1}, "2 "}, {{0, 2}, "1 "}, {{1, 2}, "0 "}, {{0, 1, 2}, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string("open: ") + row.left_open);
    LaunchWorld world;
    world.VolumeMissing();
    const LaunchSeen seen = world.Run(Plan([&] {
      for (const int stream : row.closed) ::close(stream);
    }));
    ExpectedRun expected = EndedWith7(Staged());
    for (const int stream : row.closed) {
      if (stream == STDOUT_FILENO) expected.out = "";
      if (stream == STDERR_FILENO) expected.err = "";
    }
    ExpectRun(world, seen, expected);
    EXPECT_EQ(seen.child.facts.at("descriptors"), row.left_open);
  }
}

/// Makes the stream one whose reader went away.
void BreakPipe(int stream) {
  int ends[2];
  if (::pipe(ends) != 0) ::_exit(127);
  ::dup2(ends[1], stream);
  ::close(ends[0]);
  ::close(ends[1]);
}

/// Makes the stream one on a full disk.
void FillDisk(int stream) {
  const int full = ::open("/dev/full", O_WRONLY);
  if (full < 0) ::_exit(127);
  ::dup2(full, stream);
  ::close(full);
}

TEST(RunCaller, AStreamThatCannotBeWrittenCostsItsMessagesAndNothingElse) {
  for (const auto& spoil : {BreakPipe, FillDisk}) {
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      LaunchWorld world;
      world.VolumeMissing();
      const LaunchSeen seen = world.Run(Plan([&] {
        ::signal(SIGPIPE, SIG_DFL);
        spoil(stream);
      }));
      ExpectedRun expected = EndedWith7(Staged());
      (stream == STDOUT_FILENO ? expected.out : expected.err) = "";
      ExpectRun(world, seen, expected);
      EXPECT_EQ(seen.child.facts.at("SIGPIPE"), "default");
    }
  }
}

TEST(RunCaller, TheInstallersOutputFollowsTheLaunchersMessages) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.env = {{"FAKE_PRINT", "installing\n"}}});
  ExpectedRun expected = InPlace();
  expected.out += "installing\n";
  ExpectRun(world, seen, expected);
}

TEST(RunCaller, SignalSettingsReachTheInstallerAndDoNotChangeTheRun) {
  const std::vector<std::pair<std::string, int>> signals = {{"SIGPIPE", SIGPIPE},
                                                            {"SIGXFSZ", SIGXFSZ},
                                                            {"SIGCHLD", SIGCHLD},
                                                            {"SIGINT", SIGINT},
                                                            {"SIGQUIT", SIGQUIT}};
  LaunchWorld world;
  world.OneVolume();
  for (const auto& ignored : signals) {
    SCOPED_TRACE(ignored.first);
    const LaunchSeen seen = world.Run(Plan([&] {
      for (const auto& each : signals) ::signal(each.second, SIG_DFL);
      ::signal(ignored.second, SIG_IGN);
    }));
    ExpectRun(world, seen, EndedWith7(InPlace()));
    for (const auto& [name, number] : signals) {
      EXPECT_EQ(seen.child.facts.at(name), number == ignored.second ? "ignored" : "default")
          << name;
    }
  }
}

/// A launch whose installer sends these signals to the launcher, and ends with 7.
LaunchPlan Sending(const std::string& signals) {
  LaunchPlan plan = Plan([] {
    const rlimit no_core_file = {0, 0};
    ::setrlimit(RLIMIT_CORE, &no_core_file);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) ::signal(signal, SIG_DFL);
  });
  plan.env["FAKE_KILL"] = signals;
  return plan;
}

TEST(RunCaller, WhileItWaitsTheKeyboardIsLeftToTheInstaller) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    const LaunchSeen seen = world.Run(Sending(" 2 3 2"));
    ExpectRun(world, seen, EndedWith7(staged ? Staged() : InPlace()));
    for (const char* signal : {"SIGINT", "SIGQUIT"}) {
      EXPECT_EQ(seen.child.facts.at(signal), "default") << signal;
    }
    EXPECT_EQ(seen.child.facts.at("blocked"), "");
  }
}

TEST(RunCaller, WhileItWaitsAHangUpAndATerminationEndTheLauncher) {
  for (const int signal : {SIGHUP, SIGTERM}) {
    LaunchWorld world;
    world.OneVolume();
    const LaunchSeen seen = world.Run(Sending(" " + std::to_string(signal)));
    ExpectedRun expected = InPlace();
    expected.status = -signal;
    ExpectRun(world, seen, expected);
  }
}

TEST(RunCaller, BlockedSignalsStayBlockedForTheInstallerAndDoNotChangeTheRun) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run(Plan([] {
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
  }));
  ExpectRun(world, seen, EndedWith7(InPlace()));
  EXPECT_EQ(seen.child.facts.at("blocked"),
            "1 2 3 4 5 6 7 8 10 11 12 13 14 15 16 17 18 20 21 22 23 24 25 26 27 28 29 30 31 ");
}

TEST(RunCaller, TheInstallerIsADirectChildInTheSameGroupAndSession) {
  LaunchWorld world;
  world.OneVolume();
  // The launcher leads a session of its own, so that its process id is known by the session's.
  const LaunchSeen seen = world.Run({.before = [] { ::setsid(); }});
  ASSERT_TRUE(seen.child.started);
  const std::string launcher = seen.child.facts.at("session");
  EXPECT_EQ(seen.child.facts.at("parent"), launcher);
  EXPECT_EQ(seen.child.facts.at("group"), launcher);
  EXPECT_NE(seen.child.facts.at("process"), launcher);
}

TEST(RunCaller, TheInstallerHasTheCallersDirectoryUmaskAndIds) {
  LaunchWorld world;
  world.OneVolume().Volume("work here");
  const LaunchSeen seen =
      world.Run({.before = [] { ::umask(027); }, .directory = world.Path("work here")});
  ExpectRun(world, seen, InPlace());
  EXPECT_EQ(seen.child.directory, world.Path("work here"));
  EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(027));
  EXPECT_EQ(seen.child.facts.at("user"),
            std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
}

TEST(RunCaller, TheInstallerGetsTheCallersDescriptorsAndNoneOfTheLaunchers) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    const LaunchSeen seen = world.Run({.before = [] {
      for (const int number : {3, 4, 5, 63, 100}) ::dup2(STDIN_FILENO, number);
    }});
    ExpectRun(world, seen, staged ? Staged() : InPlace());
    EXPECT_EQ(seen.child.facts.at("descriptors"), "0 1 2 3 4 5 63 100 ");
  }
}

/// A pipe from which the text can be read under that number.
void PutIntoPipe(const std::string& text, int number) {
  int ends[2];
  if (::pipe(ends) != 0) ::_exit(127);
  if (::write(ends[1], text.data(), text.size()) != ssize_t(text.size())) ::_exit(127);
  ::close(ends[1]);
  if (ends[0] == number) return;
  ::dup2(ends[0], number);
  ::close(ends[0]);
}

TEST(RunCaller, TheInstallerReadsADescriptorThatAnArgumentNames) {
  LaunchWorld world;
  world.OneVolume();
  const std::string installer = "1/inst/linux/code/bin/installer";
  SetMode(world.Directory().Write(installer, "#!/bin/sh\ncat \"$4\"\n"), 0755);
  const LaunchSeen seen = world.Run(
      {.arguments = {"--answers", "/dev/fd/7"}, .before = [] { PutIntoPipe("the answers\n", 7); }});
  ExpectRun(world, seen, {.out = SaysFoundIn("{1}") + "the answers\n"});
}

TEST(RunCaller, ADeletedWorkingDirectoryDoesNotMatter) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("gone");
  const std::string gone = world.Path("gone");
  const LaunchSeen seen =
      world.Launch("1", {.before = [&] { ::rmdir(gone.c_str()); }, .directory = gone});
  EXPECT_FALSE(std::filesystem::exists(gone));
  ExpectRun(world, seen, Staged());
  EXPECT_EQ(seen.child.directory, "");
}

}  // namespace
}  // namespace kvl::test
