// Whole runs that only ask for the number of volumes: nothing is copied, set or started.

#include "tests/launcher/launch_world.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

const LaunchPlan kQuery = {.env = {{"KVLAdmODTMultiVolumes", "1"}}};

TEST(RunQuery, EndsWithTheResultOfTheScan) {
  const std::string found = SaysFoundIn("{1}");
  ExpectRuns({
      {"a single volume, without a further message",
       &LaunchWorld::OneVolume,
       {.status = 1, .out = found},
       kQuery},
      {"all volumes in one directory",
       [](LaunchWorld& world) {
         world.OneVolume().Volume("1").Announces("2").Marker(1, "X").Marker(2, "X");
       },
       {.status = 1, .out = found + says::ComposedOf("2") + says::AllFound("{1}")},
       kQuery},
      {"a failed scan",
       &LaunchWorld::VolumeMissing,
       {.status = 0, .out = found + kTwoOfThree, .err = says::Missing()},
       kQuery},
      {"no installer",
       [](LaunchWorld& world) { world.Volume("1").Announces("2"); },
       {.status = 1, .out = SaysNoneIn("{1}"), .err = says::NoInstaller()},
       kQuery},
  });
}

TEST(RunQuery, OfSiblingVolumesEndsWithTheirNumberInEightBits) {
  for (const auto& [volumes, status] : {std::pair(3, 3), std::pair(258, 2)}) {
    LaunchWorld world;
    world.OneVolume().Volume("1").Announces(std::to_string(volumes)).Marker(1, "SET-A");
    std::vector<std::string> directories = {"{1}"};
    for (int i = 2; i <= volumes; ++i) {
      world.Volume(std::to_string(i)).Marker(i, "SET-A");
      directories.push_back("{" + std::to_string(i) + "}");
    }
    world.Expect({.status = status,
                  .out = SaysFoundIn("{1}") + says::Volumes(std::to_string(volumes), directories)},
                 kQuery);
  }
}

TEST(RunQuery, FollowsAnyNonEmptyValueAlsoFromAnOption) {
  const ExpectedRun one = {.status = 1, .out = SaysFoundIn("{1}")};
  LaunchWorld world;
  world.OneVolume();
  for (const char* value : {"0", " ", "no"}) {
    world.Expect(one, {.env = {{"KVLAdmODTMultiVolumes", value}}});
  }
  world.Expect(one, {.arguments = {"-env", "KVLAdmODTMultiVolumes"}});
  world.Expect(InPlace(), {.env = {{"KVLAdmODTMultiVolumes", ""}}});
}

/// Called in the child; leaves it 8 MiB of memory to write into.
void GiveLittleMemory() {
  const rlimit limit = {8'388'608, 8'388'608};
  ::setrlimit(RLIMIT_DATA, &limit);
}

TEST(RunQuery, TakesLittleMemoryForTheLongestTags) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  const std::string key = "MTBDIR=";
  const std::size_t most = (1UL << 20U) - key.size();
  const std::string one(most, 'a'), other(most, 'b');
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("2").File("1.txt", key + one + "cut off\n");
  world.Volume("2").File("2.txt", key + other);
  world.Expect({.status = 0,
                .out = SaysFoundIn("{1}") + says::Volumes("2", {"{1}"}),
                .err = says::Wrong("Volume 2", other, "{2}", one)},
               {.env = kQuery.env, .before = GiveLittleMemory});
}

}  // namespace
}  // namespace kvl::test
