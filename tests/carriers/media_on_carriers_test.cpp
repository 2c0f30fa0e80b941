// A media that is started from an image, a read-only mount or read-only files: whole runs of its
// start script, in place and staged.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"
#include "tests/insio/surroundings.h"

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

std::vector<std::string> TreeWithoutModes(const std::string& directory) {
  static const std::regex mode("^([dfp]) [0-7]+");
  std::vector<std::string> lines = DescribeTree(directory);
  for (std::string& line : lines) line = std::regex_replace(line, mode, "$1");
  std::sort(lines.begin(), lines.end());
  return lines;
}

class MediaOn : public testing::TestWithParam<Carrier> {
 protected:
  void SetUp() override {
    std::string why = WhyNoTools(GetParam());
    if (why.empty() && GetParam().unpack.empty()) why = WhyNoOwnMounts();
    if (!why.empty()) GTEST_SKIP() << why;
  }

  /// Starts the media on its carrier, by everybody who may do so, without the third volume if one
  /// is to be missing, and compares everything.
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
