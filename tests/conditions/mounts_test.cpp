// Whole runs with a temporary directory on a read-only file system, or on one from which nothing
// can be started.

#include "tests/conditions/own_mounts.h"
#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

using MountedTmp = OwnMountsTest;

TEST_F(MountedTmp, IsSeenByItsThreadAndItsProgramsAndEndsWithThem) {
  const auto mounts = [] { return ReadFile("/proc/thread-self/mounts"); };
  const TestDirectory directory;
  const std::string file = directory.Write("covered", ""), before = mounts();
  const auto fail = [&] {
    const std::string of_the_thread = mounts();
    {
      const MemoryMount mount(directory.Path(), "size=64k");
      EXPECT_FALSE(fs::exists(file));
      EXPECT_EQ(RunProgram({{"/bin/sh", "-c", "test -e " + file}}).status, 1);
    }
    EXPECT_EQ(mounts(), of_the_thread);
    const MemoryMount mount(directory.Path(), "size=64k");
    EXPECT_FALSE(fs::exists(file));
    throw std::logic_error("in the middle");
  };
  EXPECT_THROW(RunWithOwnMounts(fail), std::logic_error);
  EXPECT_EQ(mounts(), before);
}

/// The message names the last directory. It cannot be made because the one above it is missing,
/// whose own failure is ignored.
TEST_F(MountedTmp, ThatIsReadOnlyEndsTheStagingAtItsFirstDirectory) {
  ExternalWorld world;
  RunWithOwnMounts([&] {
    const MemoryMount mount(world.Path("tmp"), "size=1m");
    mount.MakeReadOnly();
    LaunchSeen seen = world.Run();
    seen.err = WithoutIdentifiers(seen.err);
    ExpectRun(
        world, seen,
        FailedFromExternal("{tmp}/<id>/", "mkdir - {tmp}/<id>/inst - No such file or directory"));
  });
}

/// The media lies on a file system without even access times, like a disc.
TEST_F(MountedTmp, MayBeReadOnlyInPlaceAndTheMediaAlways) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    world.Volume("1");
    RunWithOwnMounts([&] {
      const MemoryMount media(world.Path("1"), "size=8m"), tmp(world.Path("tmp"), "size=8m");
      staged ? world.VolumeMissing() : world.OneVolume();
      media.MakeReadOnly();
      if (!staged) tmp.MakeReadOnly();  // does not matter in place
      world.Expect(staged ? Staged() : InPlace());
    });
  }
}

/// The copy is complete and stays. The child that cannot become the installer has no exit code to
/// pass on.
TEST_F(MountedTmp, ThatIsNoexecKeepsTheCopyAndEndsWith255) {
  LaunchWorld world;
  world.VolumeMissing();
  RunWithOwnMounts([&] {
    const MemoryMount mount(world.Path("tmp"), "size=8m", MS_NOEXEC);
    world.Expect(NotStarted(Staged()));
  });
}

}  // namespace
}  // namespace kvl::test
