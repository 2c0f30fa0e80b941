// Whole runs with a temporary directory on a file system that may not be written to, or from which
// nothing may be started.

#include "tests/conditions/external_world.h"
#include "tests/conditions/own_mounts.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

class MountedTmp : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  }

  LaunchWorld world_;
};

/// The message is that of the last directory, which cannot be made because the one above it was not:
/// the failure of that one is passed over.
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

TEST_F(MountedTmp, ThatIsReadOnlyDoesNotMatterInPlace) {
  world_.OneVolume();
  RunWithOwnMounts([&] {
    const MemoryMount mount(world_.Path("tmp"), "size=1m");
    mount.MakeReadOnly();
    ExpectRun(world_, world_.Run({.env = {{"FAKE_EXIT", "7"}}}), [] {
      ExpectedRun expected = InPlace();
      expected.status = 7;
      return expected;
    }());
  });
}

/// The copy is whole and stays; the child that cannot become the installer has no code to hand on.
TEST_F(MountedTmp, FromWhichNothingMayBeStartedKeepsTheCopyAndEndsWith255) {
  world_.VolumeMissing();
  RunWithOwnMounts([&] {
    const MemoryMount mount(world_.Path("tmp"), "size=8m", MS_NOEXEC);
    ExpectedRun expected = Staged();
    expected.status = 255;
    expected.err += SaysCannotWait(CommandOf(StartedFrom("{staging}")));
    expected.arguments = {};
    ExpectRun(world_, world_.Run(), expected);
  });
}

/// The media on a file system of which not even the access times can be written, as on a disc.
TEST_F(MountedTmp, BesideAMediaThatIsReadOnlyIsAsEver) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    world.Volume("1");
    RunWithOwnMounts([&] {
      const MemoryMount media(world.Path("1"), "size=8m");
      staged ? world.VolumeMissing() : world.OneVolume();
      media.MakeReadOnly();
      ExpectRun(world, world.Run(), staged ? Staged() : InPlace());
    });
  }
}

}  // namespace
}  // namespace kvl::test
