// Whole rounds of kvl-media where the system lacks calls that came after Linux 3.2, or a container
// refuses them: everything is the same, by another way.

#include "tests/companion/whole_round.h"
#include "tests/support/newer_calls.h"

namespace kvl::test {
namespace {

TEST(OlderKernelOfTheCompanion, WithoutNewerCallsGetsTheSameMedia) {
  RoundWorld world;
  for (const OlderSystem& system : OlderSystems()) {
    SCOPED_TRACE(system.name);
    world.ExpectTheUsualRound({.before = system.before});
  }
}

TEST(OlderKernelOfTheCompanion, LacksNoCallThatIsNotListed) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer makes calls of its own";
  RoundWorld world;
  world.ExpectTheUsualRound({.before = OnlyWithTheListedCalls().before});
}

}  // namespace
}  // namespace kvl::test
