// A media that is started from an image, a read-only mount or read-only files: whole runs of its
// start script, in place and staged.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"
#include "tests/insio/surroundings.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The times of the copies are those on the carrier, in whole seconds.
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

class MediaOn : public testing::TestWithParam<Carrier> {
 protected:
  void SetUp() override {
    const Carrier& carrier = GetParam();
    std::string why = WhyNoTools(carrier.tools);
    if (why.empty() && !carrier.unpack) why = WhyNoOwnMounts();
    if (!why.empty()) GTEST_SKIP() << why;
  }

  /// Starts the media on its carrier, by everybody who may do so, without the third volume if one
  /// is to be missing, and compares everything.
  static void ExpectRuns(bool volume_is_missing) {
    ForAllStarters([&](CarrierWorld& world) {
      world.MakeSet();
      if (volume_is_missing) fs::remove_all(world.Path("set/3"));
      const std::vector<std::string> made = TreeWithoutModes(world.Path("set"));
      WithCarrier(GetParam(), world, [&] {
        EXPECT_EQ(TreeWithoutModes(world.Path("carrier")), made);
        ExpectedRun expected = volume_is_missing ? StagedFromCarrier() : InPlaceFromCarrier();
        expected.status = 7;
        expected.arguments.insert(expected.arguments.end(), {"--target", "a b"});
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

TEST_P(MediaOn, StartsInPlaceWithAllVolumes) {
  ExpectRuns(/*volume_is_missing=*/false);
}

TEST_P(MediaOn, IsStagedWithoutOneOfTheVolumes) {
  ExpectRuns(/*volume_is_missing=*/true);
}

INSTANTIATE_TEST_SUITE_P(Carriers, MediaOn,
                         testing::Values(IsoImage(), SquashfsImage(), ReadOnlyMount(),
                                         ReadOnlyModes()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kvl::test
