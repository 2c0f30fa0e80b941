// Unmounting a media while its installer runs: the system refuses it as long as anything of the
// media is in use.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"

namespace kvl::test {
namespace {

constexpr char kDone[] = "installed\n";

/// The set and its image, to see that nothing changed them.
std::vector<std::string> WhatIsInserted(const CarrierWorld& world) {
  std::vector<std::string> lines = DescribeTreeExactly(world.Path("set"));
  for (const std::string& line : DescribeTreeExactly(world.Path("images"))) lines.push_back(line);
  return lines;
}

class MediaInUse : public testing::TestWithParam<Carrier> {
 protected:
  void SetUp() override {
    for (const std::string& why : {WhyNoTools(GetParam()), WhyNoOwnMounts()}) {
      if (!why.empty()) GTEST_SKIP() << why;
    }
  }

  /// Starts the media and unmounts it as soon as the installer runs, which waits for that, says
  /// that it is done and ends with 7. Only from a staged copy it can.
  static void ExpectRunsAndUnmounts(bool volume_is_missing) {
    ForAllStarters([&](CarrierWorld& world) {
      world.MakeSet(volume_is_missing ? 2 : 3);
      PutOn(GetParam(), world);
      if (const std::string why = WhyNoMountOf(GetParam(), world); !why.empty()) {
        GTEST_SKIP() << why;
      }
      const std::vector<std::string> before = WhatIsInserted(world);
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
      EXPECT_EQ(WhatIsInserted(world), before);
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
      // Should the installer never have come to its pipe, nobody is to wait for it.
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
