// A media that is started from an image, a read-only mount or read-only files: whole runs of its
// start script, in place and staged.

#include "tests/carriers/carrier.h"
#include "tests/conditions/own_mounts.h"
#include "tests/insio/surroundings.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// With arguments that the launcher hands on, and a status of the installer's own.
const LaunchPlan kPlan = {.arguments = {"--target", "a b"}, .env = {{"FAKE_EXIT", "7"}}};

void AddPlan(ExpectedRun& expected) {
  expected.status = 7;
  expected.arguments.insert(expected.arguments.end(), kPlan.arguments.begin(),
                            kPlan.arguments.end());
}

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

  /// Calls `check` for everybody who may start the media, in a world of its own, without the third
  /// volume if one is to be missing. False when somebody could not be had.
  static void ForAllStarters(bool volume_is_missing,
                             const std::function<void(CarrierWorld&, Starter)>& check) {
    for (const Starter starter : AllStarters()) {
      SCOPED_TRACE(starter == Starter::kOurselves ? "by ourselves" : "by an ordinary user");
      CarrierWorld world;
      if (const std::string why = world.WhyNot(starter); !why.empty()) GTEST_SKIP() << why;
      world.MakeSet();
      if (volume_is_missing) fs::remove_all(world.Path("set/3"));
      const std::vector<std::string> made = TreeWithoutModes(world.Path("set"));
      WithCarrier(GetParam(), world, [&] {
        EXPECT_EQ(TreeWithoutModes(world.Path("carrier")), made);
        check(world, starter);
      });
    }
  }
};

TEST_P(MediaOn, StartsInPlaceWithAllVolumes) {
  ForAllStarters(/*volume_is_missing=*/false, [](CarrierWorld& world, Starter starter) {
    ExpectedRun expected = InPlaceFromCarrier();
    AddPlan(expected);
    ExpectRunBy(starter, world, world.Start(starter, kPlan), expected);
  });
}

TEST_P(MediaOn, IsStagedWithoutOneOfTheVolumes) {
  ForAllStarters(/*volume_is_missing=*/true, [](CarrierWorld& world, Starter starter) {
    ExpectedRun expected = StagedFromCarrier();
    AddPlan(expected);
    const LaunchSeen seen = world.Start(starter, kPlan);
    expected.left.exactly = StagedCopyOf(world, kFirst);
    ExpectRunBy(starter, world, seen, expected);
    ExpectTimesOfTheCarrier(world);
  });
}

INSTANTIATE_TEST_SUITE_P(Carriers, MediaOn,
                         testing::Values(IsoImage(), SquashfsImage(), ReadOnlyMount(),
                                         ReadOnlyModes()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kvl::test
