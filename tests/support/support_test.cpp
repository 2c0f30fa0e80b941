// The test tools themselves.
#include <sys/vfs.h>

#include "tests/support/child_report.h"
#include "tests/support/in_process.h"
#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

TEST(TestDirectory, IsRemovedWithEverythingInIt) {
  std::string path;
  {
    TestDirectory directory;
    path = directory.Path();
    directory.Write("a/b", "c");
    SetMode(directory.MakeDir("closed"), 0);
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(DescribeTree, NamesEveryKindOfEntry) {
  TestDirectory directory;
  SetMode(directory.Write("a/file", "text"), 0640);
  SetMode(directory.Path("a"), 0750);
  directory.Link("link", "nowhere");
  directory.Pipe("pipe");
  EXPECT_THAT(DescribeTree(directory.Path()),
              ElementsAre("d 750 a", "f 640 a/file = text", "l link -> nowhere", "p 600 pipe"));
}

TEST(DescribeTree, TellsLongContentsApart) {
  TestDirectory one, other;
  one.Write("f", std::string(5000, 'a'));
  other.Write("f", std::string(4999, 'a') + "b");
  EXPECT_NE(DescribeTree(one.Path()), DescribeTree(other.Path()));
}

TEST(DescribeTree, OfAMissingDirectoryIsEmpty) {
  EXPECT_THAT(DescribeTree("/nonexistent"), IsEmpty());
}

TEST(DescribeTreeExactly, SeesAFileWrittenAgain) {
  TestDirectory directory;
  const std::string file = directory.Write("f", "same");
  const auto before = DescribeTreeExactly(directory.Path());
  EXPECT_EQ(DescribeTreeExactly(directory.Path()), before);
  SetTimes(file, 1, 1);
  EXPECT_NE(DescribeTreeExactly(directory.Path()), before);
}

TEST(ScopedEnv, ReplacesTheEnvironmentForAWhile) {
  const Environment before = CurrentEnvironment();
  {
    const ScopedEnv scoped(Environment{{"A", "1"}});
    EXPECT_EQ(CurrentEnvironment(), (Environment{{"A", "1"}}));
  }
  EXPECT_EQ(CurrentEnvironment(), before);
}

TEST(EnvChanges, NamesChangedNewAndLostVariables) {
  const Environment before = {{"same", "1"}, {"changed", "1"}, {"lost", "1"}};
  const Environment after = {{"same", "1"}, {"changed", "2"}, {"new", "1"}};
  EXPECT_EQ(EnvChanges(before, after),
            (Environment{{"changed", "2"}, {"new", "1"}, {"lost", "(gone)"}}));
}

TEST(Catch, KeepsTheStreamsApart) {
  const Outcome outcome = Catch([] {
    ASSERT_EQ(::write(STDOUT_FILENO, "out", 3), 3);
    ASSERT_EQ(::write(STDERR_FILENO, "err", 3), 3);
  });
  EXPECT_EQ(outcome.out, "out");
  EXPECT_EQ(outcome.err, "err");
}

TEST(RunIsolated, TellsHowItEnded) {
  EXPECT_EQ(RunIsolated([] { return 5; }).status, 5);
  EXPECT_EQ(RunIsolated([]() -> int { ::_exit(7); }).status, 7);
  EXPECT_EQ(RunIsolated([] { return ::raise(SIGKILL); }).status, -SIGKILL);
  EXPECT_EQ(RunIsolated([]() -> int { throw 1; }).status, -SIGABRT);
}

TEST(RunProgram, GivesArgumentsInputAndEnvironment) {
  const Outcome outcome = RunProgram({{"/bin/sh", "-c", "cat; echo $A $0; exit 3", "x"},
                                      {{"A", "1"}, {"PATH", "/usr/bin:/bin"}},
                                      "/",
                                      "input "});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.out, "input 1 x\n");
  EXPECT_EQ(outcome.err, "");
}

TEST(FakeInstaller, ReportsItsStart) {
  TestDirectory directory;
  const std::string report = directory.Path("report");
  const Outcome outcome = RunProgram({{BuiltProgram("fake_installer"), "a", "b c", ""},
                                      {{"FAKE_REPORT", report}, {"FAKE_EXIT", "9"}, {"X", "y=z"}},
                                      directory.Path()});
  EXPECT_EQ(outcome.status, 9);
  const ChildReport child = ReadReport(report);
  EXPECT_TRUE(child.started);
  EXPECT_THAT(child.arguments, ElementsAre(BuiltProgram("fake_installer"), "a", "b c", ""));
  EXPECT_EQ(child.directory, directory.Path());
  EXPECT_EQ(child.env, (Environment{{"FAKE_REPORT", report}, {"FAKE_EXIT", "9"}, {"X", "y=z"}}));
  EXPECT_EQ(child.facts.at("SIGPIPE"), "default");
}

TEST(FakeInstaller, DiesByTheSignalNamed) {
  EXPECT_EQ(RunProgram({{BuiltProgram("fake_installer")}, {{"FAKE_SIGNAL", "9"}}}).status, -9);
}

TEST(ReadReport, WithoutAFileSaysThatNothingStarted) {
  EXPECT_FALSE(ReadReport("/nonexistent").started);
}

TEST(MediaWorld, BuildsWhatIsDescribed) {
  MediaWorld world;
  world.Volume("1").Announces("2").Marker(1, "SET-A").Link("up", "{}");
  EXPECT_EQ(ReadFile(world.Path("1/inst/volumes.txt")), "2\n");
  EXPECT_EQ(ReadFile(world.Path("1/1.txt")), "MTBDIR=SET-A\n");
  EXPECT_EQ(std::filesystem::read_symlink(world.Path("1/up")), world.Directory().Path());
  EXPECT_EQ(world.Text("a {1} {}"), "a " + world.Path("1") + " " + world.Path("."));
}

TEST(FailingCall, FailsTheCallsItIsToldTo) {
  {
    const FailingCall failing(FailingCall::kFork, EAGAIN, /*after=*/0, /*times=*/1);
    EXPECT_EQ(::fork(), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(RunIsolated([] { return 4; }).status, 4);
  }
  EXPECT_EQ(RunIsolated([] { return 5; }).status, 5);
}

TEST(RunInProcess, CatchesWhatIsWrittenAndTheEndOfTheProcess) {
  bool was_unwound = false;
  struct Unwinding {
    ~Unwinding() { flag = true; }
    bool& flag;
  };
  const InProcessOutcome outcome = RunInProcess([&] {
    const Unwinding unwinding{was_unwound};
    EXPECT_EQ(::write(STDOUT_FILENO, "out", 3), 3);
    EXPECT_EQ(::write(STDERR_FILENO, "err", 3), 3);
    ::_exit(7);
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.out, "out");
  EXPECT_EQ(outcome.err, "err");
  EXPECT_TRUE(was_unwound);
}

TEST(RunInProcess, LeavesTheRestOfTheProcessAlone) {
  EXPECT_EQ(RunInProcess([] {}).status, std::nullopt);
  EXPECT_EQ(RunIsolated([] {
              EXPECT_EQ(::write(STDOUT_FILENO, "out", 3), 3);
              ::_exit(8);
              return 0;
            }).status,
            8);
  EXPECT_THROW(RunInProcess([] { throw std::runtime_error("x"); }), std::runtime_error);
}

TEST(FakeUser, AnswersForGetuid) {
  const FakeUser user(1234);
  EXPECT_EQ(::getuid(), 1234U);
}

TEST(FakeFreeBlocks, AnswersForStatfs) {
  struct statfs status;
  const FakeFreeBlocks blocks(12, 34);
  EXPECT_EQ(::statfs("/", &status), 0);
  EXPECT_EQ(status.f_bavail, 12U);
  EXPECT_EQ(status.f_bsize, 34);
  EXPECT_EQ(::statfs("", &status), -1);
}

}  // namespace
}  // namespace kvl::test
