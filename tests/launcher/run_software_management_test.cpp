// Whole runs in software management.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A media in "m/x/1", the first of three volumes, whose others nobody looks for.
void MakeMedia(LaunchWorld& world) {
  world.Volume("m/x/1").Installer().Descriptions().Announces("3").Marker(1, "SET-A");
}

/// A run in place with these arguments of the installer behind its path.
ExpectedRun StartedWith(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), InstallerOf("{m/x/1}"));
  return {.out = SaysFoundIn("{m/x/1}"),
          .arguments = arguments,
          .env = {.media = "{m/x/1}", .software_management = true}};
}

TEST(RunSoftwareManagement, TellsTheInstallerTheActionAndTheMediasGrandparent) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"-List", "Radio_KVLSoftwareMgtCheck?List=true"},
      {"-Check", "Radio_KVLSoftwareMgtCheck?Check1=true"},
      {"-Commit", "Radio_KVLSoftwareMgtCheck?Commit=true"},
      {"-Rollback", "Radio_KVLSoftwareMgtCheck?Rollback=true"}};
  LaunchWorld world;
  MakeMedia(world);
  for (const auto& [option, setting] : rows) {
    SCOPED_TRACE(option);
    const LaunchSeen seen = world.Run({.arguments = {"-SoftMgt", option}}, "m/x/1");
    ExpectRun(world, seen, StartedWith({"--mgt", "{m}", "--var", setting}));
  }
}

TEST(RunSoftwareManagement, PutsTheUsersArgumentsFirstAndRepeatsTheirMgt) {
  LaunchWorld world;
  MakeMedia(world);
  const LaunchSeen seen =
      world.Run({.arguments = {"-x", "--mgt", "-SoftMgt", "y", "-List"}}, "m/x/1");
  ExpectRun(world, seen,
            StartedWith({"-x", "--mgt", "y", "--mgt", "{m}", "--var",
                         "Radio_KVLSoftwareMgtCheck?List=true"}));
}

TEST(RunSoftwareManagement, TheLastActionCounts) {
  LaunchWorld world;
  MakeMedia(world);
  const LaunchSeen seen = world.Run({.arguments = {"-List", "-SoftMgt", "-Commit"}}, "m/x/1");
  ExpectRun(world, seen,
            StartedWith({"--mgt", "{m}", "--var", "Radio_KVLSoftwareMgtCheck?Commit=true"}));
}

TEST(RunSoftwareManagement, AMediaWithoutAGrandparentGivesAnEmptyOneWhichVanishes) {
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen seen = world.Run({.arguments = {"-SoftMgt", "-List"},
                                     .env = {{"CurrentMediaDir", "1"}},
                                     .directory = world.Path(".")});
  ExpectRun(
      world, seen,
      {.out = SaysFoundIn("1"),
       .arguments = {InstallerOf("1"), "--mgt", "--var", "Radio_KVLSoftwareMgtCheck?List=true"},
       .env = {.media = "1", .software_management = true}});
}

TEST(RunSoftwareManagement, OfAnUnreadVolumesFileRunsInPlace) {
  LaunchWorld world;
  MakeMedia(world);
  world.Volume("m/x/1").Announces("not a number");
  const LaunchSeen seen = world.Run({.arguments = {"-SoftMgt", "-List"}}, "m/x/1");
  ExpectRun(world, seen,
            StartedWith({"--mgt", "{m}", "--var", "Radio_KVLSoftwareMgtCheck?List=true"}));
}

}  // namespace
}  // namespace kvl::test
