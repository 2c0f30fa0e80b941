// Starts a media from an image, a read-only mount or read-only files, in place and staged. Also
// unmounts it while the installer runs, which the system refuses as long as a file of it is in use.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

/// Expects that staged files have the times of those on the carrier, in whole seconds.
void ExpectTimesOfTheCarrier(const CarrierWorld& world) {
  const fs::path staging = world.Text("{staging}");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(staging)) {
    const std::string name = entry.path().lexically_relative(staging);
    if (!entry.is_regular_file() || name == "remove.bat") continue;
    EXPECT_EQ(StatusOf(entry.path()).st_mtim.tv_sec,
              StatusOf(world.Text(kFirst) + "/" + name).st_mtim.tv_sec)
        << name;
  }
}

std::vector<std::string> TreeWithoutModes(const std::string& directory) {
  std::vector<std::string> lines = DescribeTree(directory);
  for (std::string& line : lines) line = Replaced(line, "^([dfp]) [0-7]+", "$1");
  std::sort(lines.begin(), lines.end());
  return lines;
}

class MediaOnCarrier : public testing::TestWithParam<Carrier> {
 protected:
  void SetUp() override {
    std::string why = WhyNoTools(GetParam());
    if (why.empty() && GetParam().unpack.empty()) why = WhyNoOwnMounts();
    if (!why.empty()) GTEST_SKIP() << why;
  }

  /// Starts the media from its carrier as each user of ForAllStarters, and compares everything. If
  /// a volume should be missing, it is the third.
  static void ExpectRuns(bool volume_is_missing) {
    ForAllStarters([&](CarrierWorld& world) {
      world.MakeSet(volume_is_missing ? 2 : 3);
      const std::vector<std::string> made = TreeWithoutModes(world.Path("set"));
      WithCarrier(GetParam(), world, [&] {
        EXPECT_EQ(TreeWithoutModes(world.Path("carrier")), made);
        ExpectedRun expected = volume_is_missing ? StagedFromCarrier() : InPlaceFromCarrier();
        expected = expected.Passes({"--target", "a b"}).Ends(7);
        const LaunchSeen seen =
            world.Start({.arguments = {"--target", "a b"}, .env = {{"FAKE_EXIT", "7"}}});
        if (volume_is_missing) {
          expected.left.exactly = StagedCopyOf(world, kFirst);
          ExpectTimesOfTheCarrier(world);
        }
        world.Expect(seen, expected);
      });
    });
  }
};

TEST_P(MediaOnCarrier, StartsInPlaceWithAllVolumes) {
  ExpectRuns(/*volume_is_missing=*/false);
}

TEST_P(MediaOnCarrier, IsStagedWhenAVolumeIsMissing) {
  ExpectRuns(/*volume_is_missing=*/true);
}

INSTANTIATE_TEST_SUITE_P(Carriers, MediaOnCarrier,
                         testing::Values(IsoImage(), SquashfsImage(), ReadOnlyMount(),
                                         ReadOnlyModes()),
                         [](const auto& row) { return row.param.name; });

constexpr char kDone[] = "installed\n";

class MediaInUse : public MediaOnCarrier {
 protected:
  /// Starts the media, and unmounts it while the installer runs. Expects that this works only if
  /// the launcher has staged the installer. Then lets the installer go on, which prints kDone and
  /// ends with status 7.
  static void ExpectRunsAndUnmounts(bool volume_is_missing) {
    ForAllStarters([&](CarrierWorld& world) {
      world.MakeSet(volume_is_missing ? 2 : 3);
      PutOn(GetParam(), world);
      if (const std::string why = WhyNoMountOf(GetParam(), world); !why.empty()) {
        GTEST_SKIP() << why;
      }
      const std::string set = world.Path("set"), images = world.Path("images");
      const auto set_before = DescribeTreeExactly(set), image_before = DescribeTreeExactly(images);
      RunWithOwnMounts([&] {
        world.RunTool(GetParam().mount);
        ExpectedRun expected = volume_is_missing ? StagedFromCarrier() : InPlaceFromCarrier();
        expected.status = 7;
        expected.out += kDone;
        const LaunchSeen seen = StartAndUnmount(world, volume_is_missing ? 0 : EBUSY);
        if (volume_is_missing) {
          world.RunTool(GetParam().mount);
          expected.left.exactly = StagedCopyOf(world, kFirst);
        }
        world.Expect(seen, expected);
      });
      EXPECT_EQ(DescribeTreeExactly(set), set_before);
      EXPECT_EQ(DescribeTreeExactly(images), image_before);
    });
  }

 private:
  static LaunchSeen StartAndUnmount(CarrierWorld& world, int error_of_unmounting) {
    const std::string pipe = world.Directory().Pipe("pipe");
    SetMode(pipe, 0644);
    LaunchSeen seen;
    std::thread run([&] {
      seen = world.Launch(
          "carrier/1",
          world.StartOf(std::string(kFirst) + "/StartTUI.sh",
                        {.env = {{"FAKE_WAIT", pipe}, {"FAKE_PRINT", kDone}, {"FAKE_EXIT", "7"}}}));
      // Releases the open() below if the installer has not opened the pipe.
      ::close(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    });
    const int end = ::open(pipe.c_str(), O_WRONLY | O_CLOEXEC);  // waits for the installer
    const int error = ::umount2(world.Path("carrier").c_str(), 0) == 0 ? 0 : errno;
    EXPECT_EQ(error, error_of_unmounting);
    ::close(end);
    run.join();
    TakeAwayTheScript(seen, world.Text(kFirst));
    return seen;
  }
};

TEST_P(MediaInUse, CanBeUnmountedWhileTheStagedInstallerRuns) {
  ExpectRunsAndUnmounts(/*volume_is_missing=*/true);
}

TEST_P(MediaInUse, StaysMountedWhileTheInstallerRunsFromIt) {
  ExpectRunsAndUnmounts(/*volume_is_missing=*/false);
}

INSTANTIATE_TEST_SUITE_P(Carriers, MediaInUse,
                         testing::Values(IsoImage(), SquashfsImage(), ReadOnlyMount()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kvl::test
