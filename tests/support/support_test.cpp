// Tests those tools of the tests in which a mistake would let other tests pass.
#include "tests/support/in_process.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

TEST(TestDirectory, IsRemovedWithEverythingInIt) {
  std::string path;
  {
    TestDirectory directory;
    path = directory.Path();
    SetMode(directory.MakeDir("closed/in it"), 0);
    SetMode(directory.Path("closed"), 0);
  }
  EXPECT_FALSE(fs::exists(path));
}

TEST(DescribeTree, NamesEveryKindOfEntryAndTellsLongContentsApart) {
  const TestDirectory directory;
  SetMode(directory.Write("a/file", "text"), 0640);
  SetMode(directory.Path("a"), 0750);
  directory.Link("link", "nowhere");
  directory.Pipe("pipe");
  EXPECT_THAT(DescribeTree(directory.Path()),
              ElementsAre("d 750 a", "f 640 a/file = text", "l link -> nowhere", "p 600 pipe"));
  EXPECT_NE(DescribeContents(std::string(5000, 'a')),
            DescribeContents(std::string(4999, 'a') + "b"));
}

TEST(DescribeTreeExactly, SeesAFileWrittenAgain) {
  const TestDirectory directory;
  const std::string file = directory.Write("f", "same");
  const auto before = DescribeTreeExactly(directory.Path());
  EXPECT_EQ(DescribeTreeExactly(directory.Path()), before);
  SetTimes(file, 1, 1);
  EXPECT_NE(DescribeTreeExactly(directory.Path()), before);
}

TEST(EnvChanges, NamesChangedNewAndLostVariables) {
  const Environment before = {{"same", "1"}, {"changed", "1"}, {"lost", "1"}};
  const Environment after = {{"same", "1"}, {"changed", "2"}, {"new", "1"}};
  EXPECT_EQ(EnvChanges(before, after),
            (Environment{{"changed", "2"}, {"new", "1"}, {"lost", "(gone)"}}));
}

TEST(RunIsolated, TellsHowItEnded) {
  EXPECT_EQ(RunIsolated([]() -> int { ::_exit(7); }).status, 7);
  EXPECT_EQ(RunIsolated([] { return ::raise(SIGKILL); }).status, -SIGKILL);
  EXPECT_EQ(RunIsolated([]() -> int { throw 1; }).status, -SIGABRT);
}

TEST(RunInProcess, CatchesWhatIsWrittenAndTheEndOfTheProcess) {
  EXPECT_THROW(RunInProcess([] { throw std::runtime_error("x"); }), std::runtime_error);
  const InProcessOutcome outcome = RunInProcess([] {
    EXPECT_EQ(::write(STDOUT_FILENO, "out", 3), 3);
    EXPECT_EQ(::write(STDERR_FILENO, "err", 3), 3);
    ::_exit(7);
  });
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.out, "out");
  EXPECT_EQ(outcome.err, "err");
  EXPECT_EQ(RunInProcess([] {}).status, std::nullopt);
}

}  // namespace
}  // namespace kvl::test
