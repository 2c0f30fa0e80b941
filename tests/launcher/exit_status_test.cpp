#include "launcher/exit_status.h"

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

int StatusAfter(ExitStatus status) {
  return RunIsolated([=]() -> int { EndProcess(status); }).status;
}

TEST(EndProcess, GivesTheStatusToTheSystem) {
  EXPECT_EQ(StatusAfter(ExitStatus::kBadCommandLine), 1);
  EXPECT_EQ(StatusAfter(ExitStatus::kNoInstaller), 1);
  EXPECT_EQ(StatusAfter(ExitStatus::kStagingFailed), 1);
  EXPECT_EQ(StatusAfter(ExitStatus::kBlankInInstallerMedia), 12);
}

TEST(EndProcess, NeitherFlushesNorRunsExitHandlers) {
  const Outcome outcome = RunIsolated([]() -> int {
    std::atexit([] { std::fputs("handler", stderr); });
    std::fputs("unflushed", stdout);
    EndProcess(ExitStatus::kNoInstaller);
  });
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
}

TEST(VolumeCountStatus, IsTheCountOfWhichTheSystemKeepsTheLowEightBits) {
  for (const int count : {0, 1, 2, 12, 255})
    EXPECT_EQ(StatusAfter(VolumeCountStatus(count)), count);
  EXPECT_EQ(StatusAfter(VolumeCountStatus(256)), 0);
  EXPECT_EQ(StatusAfter(VolumeCountStatus(300)), 44);
}

}  // namespace
}  // namespace kvl::test
