// Whole rounds of kvl-media where the kernel lacks, or a container refuses, the system calls that
// are newer than Linux 3.2. The results are the same.

#include "tests/companion/whole_round.h"
#include "tests/support/newer_calls.h"

namespace kvl::test {
namespace {

TEST(OlderKernelUnderKvlMedia, MakesNoDifference) {
  RoundWorld world;
  for (const OlderSystem& system : OlderSystems()) {
    SCOPED_TRACE(system.name);
    world.ExpectTheUsualRound({.before = system.before});
  }
}

TEST(OlderKernelUnderKvlMedia, NeedsOnlyTheListedCalls) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer makes calls of its own";
  RoundWorld world;
  world.ExpectTheUsualRound({.before = OnlyWithTheListedCalls().before});
}

}  // namespace
}  // namespace kvl::test
