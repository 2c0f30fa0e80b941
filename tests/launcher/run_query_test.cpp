// Whole runs that only ask for the number of volumes: nothing is copied, set or started.

#include "tests/launcher/launch_world.h"
#include "tests/support/sanitized.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

const LaunchPlan kQuery = {.env = {{"KVLAdmODTMultiVolumes", "1"}}};

TEST(RunQuery, OfASingleVolumeIsOneWithoutAFurtherMessage) {
  LaunchWorld world;
  world.OneVolume();
  ExpectRun(world, world.Run(kQuery), {.status = 1, .out = SaysFoundIn("{1}")});
}

TEST(RunQuery, OfAllVolumesInOneDirectoryIsOne) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("2").Marker(1, "X").Marker(2, "X");
  ExpectRun(world, world.Run(kQuery),
            {.status = 1,
             .out = SaysFoundIn("{1}") + " INFO: This media is composed of 2 volumes.\n"
                                         "       All volumes found in: {1}\n"});
}

TEST(RunQuery, OfAFailedScanIsZero) {
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run(kQuery);
  ExpectRun(world, seen, {.status = 0, .out = Staged().out, .err = kMissingVolumes});
}

/// Further volumes of the set SET-A beside the media in "1".
LaunchSeen QueryOf(LaunchWorld& world, int volumes) {
  world.OneVolume().Volume("1").Announces(std::to_string(volumes)).Marker(1, "SET-A");
  for (int i = 2; i <= volumes; ++i) world.Volume(std::to_string(i)).Marker(i, "SET-A");
  return world.Run(kQuery);
}

std::string SaysSiblings(int volumes) {
  std::string text = SaysFoundIn("{1}") + " INFO: This media is composed of " +
                     std::to_string(volumes) + " volumes.\n";
  for (int i = 1; i <= volumes; ++i) {
    text += "       Volume " + std::to_string(i) + " found in: {" + std::to_string(i) + "}\n";
  }
  return text;
}

TEST(RunQuery, OfSiblingVolumesIsTheirNumber) {
  LaunchWorld world;
  ExpectRun(world, QueryOf(world, 3), {.status = 3, .out = SaysSiblings(3)});
}

TEST(RunQuery, IsCutToTheLowEightBitsByTheSystem) {
  LaunchWorld world;
  ExpectRun(world, QueryOf(world, 258), {.status = 2, .out = SaysSiblings(258)});
}

TEST(RunQuery, IsMadeByAnyValueButTheEmptyOne) {
  LaunchWorld world;
  world.OneVolume();
  for (const char* value : {"0", " ", "no"}) {
    const LaunchSeen seen = world.Run({.env = {{"KVLAdmODTMultiVolumes", value}}});
    ExpectRun(world, seen, {.status = 1, .out = SaysFoundIn("{1}")});
  }
  ExpectRun(world, world.Run({.env = {{"KVLAdmODTMultiVolumes", ""}}}), InPlace());
}

TEST(RunQuery, MayBeAskedForByAnOption) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.arguments = {"-env", "KVLAdmODTMultiVolumes"}});
  ExpectRun(world, seen, {.status = 1, .out = SaysFoundIn("{1}")});
}

TEST(RunQuery, NeedsAnInstallerAllTheSame) {
  LaunchWorld world;
  world.Volume("1").Announces("2");
  ExpectRun(world, world.Run(kQuery),
            {.status = 1,
             .out = SaysNoneIn("{1}"),
             .err = "ERROR: The installer is not found, please read the file "
                    "\"ReadMe_UNIX.txt\".\n"});
}

/// To be called in the child: it has no more than 8 MiB to write into.
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
  const LaunchSeen seen =
      world.Run({.env = {{"KVLAdmODTMultiVolumes", "1"}}, .before = GiveLittleMemory});
  ExpectRun(world, seen,
            {.status = 0,
             .out = SaysFoundIn("{1}") + " INFO: This media is composed of 2 volumes.\n"
                                         "       Volume 1 found in: {1}\n",
             .err = " WARN: Volume 2 of " + other + " found in {2} instead of " + one + "\n"});
}

}  // namespace
}  // namespace kvl::test
