// Unmounting a media while its installer runs: the system refuses it as long as anything of the
// media is in use.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kUnmounted[] = "unmounted";
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
    for (const std::string& why : {WhyNoTools(GetParam().tools), WhyNoOwnMounts()}) {
      if (!why.empty()) GTEST_SKIP() << why;
    }
  }

  /// Starts the media and unmounts it as soon as the installer runs, which waits for that, says
  /// that it is done and ends with 7. `check` gets the run, with the media mounted once more, and
  /// what came of unmounting: kUnmounted, or why not.
  static void UnmountWhileItRuns(
      bool volume_is_missing,
      const std::function<void(const CarrierWorld&, Starter, const LaunchSeen&,
                               const std::string&)>& check) {
    for (const Starter starter : AllStarters()) {
      SCOPED_TRACE(starter == Starter::kOurselves ? "by ourselves" : "by an ordinary user");
      CarrierWorld world;
      if (const std::string why = world.WhyNot(starter); !why.empty()) GTEST_SKIP() << why;
      world.MakeSet();
      if (volume_is_missing) fs::remove_all(world.Path("set/3"));
      PutOn(GetParam(), world);
      if (const std::string why = WhyNoMountOf(GetParam(), world); !why.empty()) {
        GTEST_SKIP() << why;
      }
      const std::vector<std::string> before = WhatIsInserted(world);
      RunWithOwnMounts([&] {
        GetParam().mount(world);
        std::string unmounted;
        const LaunchSeen seen = StartAndUnmount(world, starter, unmounted);
        if (unmounted == kUnmounted) GetParam().mount(world);
        check(world, starter, seen, unmounted);
      });
      EXPECT_EQ(WhatIsInserted(world), before);
    }
  }

 private:
  static LaunchSeen StartAndUnmount(CarrierWorld& world, Starter starter, std::string& unmounted) {
    const std::string pipe = world.Directory().Pipe("pipe");
    SetMode(pipe, 0644);
    LaunchSeen seen;
    std::thread run([&] {
      seen = world.Launch(
          "carrier/1",
          world.StartOf(std::string(kFirst) + "/StartTUI.sh", starter,
                        {.env = {{"FAKE_WAIT", pipe}, {"FAKE_PRINT", kDone}, {"FAKE_EXIT", "7"}}}));
      // Should the installer never have come to its pipe, nobody is to wait for it.
      ::close(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    });
    const int end = ::open(pipe.c_str(), O_WRONLY | O_CLOEXEC);  // waits for the installer
    const bool is_done = ::umount2(world.Path("carrier").c_str(), 0) == 0;
    unmounted = is_done ? kUnmounted : std::strerror(errno);
    ::close(end);
    run.join();
    TakeAwayTheScript(seen, world.Text(kFirst));
    return seen;
  }
};

TEST_P(MediaInUse, CanBeUnmountedWhileTheStagedInstallerRuns) {
  UnmountWhileItRuns(/*volume_is_missing=*/true,
                     [](const CarrierWorld& world, Starter starter, const LaunchSeen& seen,
                        const std::string& unmounted) {
                       EXPECT_EQ(unmounted, kUnmounted);
                       ExpectedRun expected = StagedFromCarrier();
                       expected.status = 7;
                       expected.out += kDone;
                       expected.left.exactly = StagedCopyOf(world, kFirst);
                       ExpectRunBy(starter, world, seen, expected);
                     });
}

TEST_P(MediaInUse, StaysMountedWhileTheInstallerRunsFromIt) {
  UnmountWhileItRuns(/*volume_is_missing=*/false,
                     [](const CarrierWorld& world, Starter starter, const LaunchSeen& seen,
                        const std::string& unmounted) {
                       EXPECT_EQ(unmounted, std::strerror(EBUSY));
                       ExpectedRun expected = InPlaceFromCarrier();
                       expected.status = 7;
                       expected.out += kDone;
                       ExpectRunBy(starter, world, seen, expected);
                     });
}

INSTANTIATE_TEST_SUITE_P(Carriers, MediaInUse,
                         testing::Values(IsoImage(), SquashfsImage(), ReadOnlyMount()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kvl::test
