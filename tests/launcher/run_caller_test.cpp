// Whole runs: how the caller's streams, signals, descriptors and directory affect the launcher, and
// which of them reach the installer. tests/conditions has closed streams and blocked signals.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

using Facts = std::map<std::string, std::string>;

/// Runs a media in place and a staged one, prepares the launcher before it starts, and uses an
/// installer that ends with 7. Compares everything, and these facts about the installer.
void ExpectTwoRuns(const Facts& facts, const std::function<void()>& before,
                   const Environment& env = {}, int lost_stream = -1) {
  for (const bool staged : {false, true}) {
    SCOPED_TRACE(staged ? "staged" : "in place");
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    ExpectedRun expected = (staged ? Staged() : InPlace()).Ends(7);
    if (lost_stream == STDOUT_FILENO) expected.out = "";
    if (lost_stream == STDERR_FILENO) expected.err = "";
    LaunchPlan plan = {.env = env, .before = before};
    plan.env.emplace("FAKE_EXIT", "7");
    Facts seen = world.Expect(expected, plan).child.facts;
    for (const auto& [name, value] : facts) EXPECT_EQ(seen[name], value) << name;
  }
}

/// Turns the stream into a pipe without a reader.
void BreakPipe(int stream) {
  int ends[2];
  if (::pipe(ends) != 0) ::_exit(127);
  ::dup2(ends[1], stream);
  ::close(ends[0]);
  ::close(ends[1]);
}

/// Turns the stream into one on a full disk.
void FillDisk(int stream) {
  const int full = ::open("/dev/full", O_WRONLY);
  if (full < 0) ::_exit(127);
  ::dup2(full, stream);
  ::close(full);
}

TEST(RunCaller, AStreamThatCannotBeWrittenLosesItsMessagesOnly) {
  for (const auto& spoil : {BreakPipe, FillDisk}) {
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      const auto before = [=] {
        ::signal(SIGPIPE, SIG_DFL);
        spoil(stream);
      };
      ExpectTwoRuns({{"SIGPIPE", "default"}}, before, {}, stream);
    }
  }
}

TEST(RunCaller, SignalSettingsReachTheInstallerOnly) {
  const std::map<std::string, int> signals = {{"SIGPIPE", SIGPIPE},
                                              {"SIGXFSZ", SIGXFSZ},
                                              {"SIGCHLD", SIGCHLD},
                                              {"SIGINT", SIGINT},
                                              {"SIGQUIT", SIGQUIT}};
  for (const auto& ignored : signals) {
    SCOPED_TRACE(ignored.first);
    Facts facts;
    for (const auto& [name, number] : signals) facts[name] = "default";
    facts[ignored.first] = "ignored";
    ExpectTwoRuns(facts, [&] {
      for (const auto& [name, number] : signals) ::signal(number, SIG_DFL);
      ::signal(ignored.second, SIG_IGN);
    });
  }
}

void LeaveNoCoreAndDieBySignals() {
  LeaveNoCore();
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) ::signal(signal, SIG_DFL);
}

TEST(RunCaller, WhileItWaitsTheKeyboardIsLeftToTheInstaller) {
  ExpectTwoRuns({{"SIGINT", "default"}, {"SIGQUIT", "default"}, {"blocked", ""}},
                LeaveNoCoreAndDieBySignals, {{"FAKE_KILL", " 2 3 2"}});
}

TEST(RunCaller, WhileItWaitsAHangUpAndATerminationEndTheLauncher) {
  for (const int signal : {SIGHUP, SIGTERM}) {
    LaunchWorld world;
    world.OneVolume();
    world.Expect(InPlace().Ends(-signal), {.env = {{"FAKE_KILL", " " + std::to_string(signal)}},
                                           .before = LeaveNoCoreAndDieBySignals});
  }
}

TEST(RunCaller, TheInstallerGetsTheCallersDescriptorsOnly) {
  ExpectTwoRuns({{"descriptors", "0 1 2 3 4 5 63 100 "}}, [] {
    for (const int number : {3, 4, 5, 63, 100}) ::dup2(STDIN_FILENO, number);
  });
}

TEST(RunCaller, TheInstallerIsADirectChildInTheSameGroupAndSession) {
  LaunchWorld world;
  world.OneVolume();
  // The launcher leads its own session, so the session's id is the launcher's process id.
  Facts facts = world.Expect(InPlace(), {.before = [] { ::setsid(); }}).child.facts;
  EXPECT_EQ(facts["parent"], facts["session"]);
  EXPECT_EQ(facts["group"], facts["session"]);
  EXPECT_NE(facts["process"], facts["session"]);
}

TEST(RunCaller, TheInstallerHasTheCallersDirectoryUmaskAndIds) {
  LaunchWorld world;
  world.OneVolume().Volume("work here");
  const LaunchSeen seen =
      world.Expect(InPlace(), {.before = [] { ::umask(027); }, .directory = "{work here}"});
  EXPECT_EQ(seen.child.directory, world.Path("work here"));
  EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(027));
  EXPECT_EQ(seen.child.facts.at("user"),
            std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
}

/// Turns descriptor 7 into a pipe from which a text can be read.
void PutAnswersIntoPipe() {
  const std::string_view text = "the answers\n";
  int ends[2];
  if (::pipe(ends) != 0) ::_exit(127);
  if (::write(ends[1], text.data(), text.size()) != ssize_t(text.size())) ::_exit(127);
  ::close(ends[1]);
  ::dup2(ends[0], 7);
  if (ends[0] != 7) ::close(ends[0]);
}

TEST(RunCaller, TheInstallerReadsADescriptorThatAnArgumentNames) {
  LaunchWorld world;
  SetMode(world.Directory().Write(InstallerOf("1"), "#!/bin/sh\ncat \"$4\"\n"), 0755);
  world.Expect({.out = SaysFoundIn("{1}") + "the answers\n"},
               {.arguments = {"--answers", "/dev/fd/7"}, .before = PutAnswersIntoPipe});
}

TEST(RunCaller, ADeletedWorkingDirectoryDoesNotMatter) {
  LaunchWorld world;
  world.VolumeMissing().Volume("gone");
  const std::string gone = world.Path("gone");
  const LaunchSeen seen =
      world.Launch("1", {.before = [&] { ::rmdir(gone.c_str()); }, .directory = gone});
  EXPECT_FALSE(fs::exists(gone));
  ExpectRun(world, seen, Staged());
  EXPECT_EQ(seen.child.directory, "");
}

}  // namespace
}  // namespace kvl::test
