// Whole runs where the system lacks calls that are newer than Linux 3.2, or a container refuses
// them: the run is the same, by other calls.

#include "tests/conditions/worlds.h"
#include "tests/support/newer_calls.h"

namespace kvl::test {
namespace {

/// Compares a run in place, a staged run, and one with an external installer.
void ExpectAllRuns(const OlderSystem& system) {
  SCOPED_TRACE(system.name);
  const LaunchPlan plan = {.env = {{"FAKE_EXIT", "7"}}, .before = system.before};
  InPlaceAndStaged(
      [&](LaunchWorld& world, const ExpectedRun& run) { world.Expect(run.Ends(7), plan); });
  ExternalWorld external;
  ExpectRun(external, external.Run(plan), StagedFromExternal().Ends(7));
}

TEST(OlderKernel, WithoutNewerCallsStartsTheInstallerAsUsual) {
  for (const OlderSystem& system : OlderSystems()) ExpectAllRuns(system);
}

TEST(OlderKernel, LacksOnlyListedCalls) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer makes calls of its own";
  ExpectAllRuns(OnlyWithTheListedCalls());
}

}  // namespace
}  // namespace kvl::test
