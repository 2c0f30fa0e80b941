// Starts a media from a self-extracting archive, which unpacks itself into the temporary directory,
// calls StartTUI.sh and removes what it has unpacked.

#include "tests/carriers/carrier.h"

namespace kvl::test {
namespace {

constexpr unsigned kUmaskOfTheArchive = 077;
constexpr unsigned kOwnUmask = 022;
const LaunchPlan kPlan = {.arguments = {"--quiet", "--", "--target", "a b"},
                          .env = {{"FAKE_EXIT", "7"}}};

class SelfExtractingArchive : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists("/usr/bin/makeself")) GTEST_SKIP() << "makeself is not installed";
  }

  /// Packs the media in {set} into {archives/suite.run}.
  static void Pack(const CarrierWorld& world, const std::vector<std::string>& options = {}) {
    world.Directory().MakeDir("archives");
    std::vector<std::string> command = {"/usr/bin/makeself", "--quiet", "--nox11", "--nocomp"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"{set}", "{archives/suite.run}", "A suite", "./StartTUI.sh"});
    world.RunTool(command);
  }

  /// Runs the archive, and expects that it changes only {tmp} and removes the directory that it
  /// unpacks itself into.
  static LaunchSeen StartArchive(CarrierWorld& world) {
    LaunchSeen seen = world.Run(world.StartOf("{archives/suite.run}", kPlan));
    const std::string unpacked = seen.child.directory;
    const std::string beginning = world.Path("tmp/selfgz");
    EXPECT_EQ(unpacked.substr(0, beginning.size()), beginning);
    EXPECT_EQ(unpacked.find_first_not_of("0123456789", beginning.size()), std::string::npos);
    EXPECT_FALSE(fs::exists(unpacked));
    TakeAwayTheScript(seen, unpacked);
    seen.given["USER_PWD"] = world.Path(".");
    seen.given["ARCHIVE_DIR"] = world.Path("archives");
    return seen;
  }

  static void ExpectStaged(CarrierWorld& world, unsigned umask) {
    const LaunchSeen seen = StartArchive(world);
    const std::string unpacked = seen.child.directory;
    ExpectedRun expected = StagedFromCarrier().Passes({"--target", "a b"}).Ends(7);
    expected.out = SaysFoundIn(unpacked) + says::ComposedOf("3");
    expected.env.original = unpacked;
    expected.left.exactly = StagedCopyOf(world, "{set}", umask);
    world.Expect(seen, expected);
    EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(umask));
  }
};

TEST_F(SelfExtractingArchive, RunsTheInstallerWhereItWasUnpacked) {
  ForAllStarters([](CarrierWorld& world) {
    world.Directory().Write("payload/a", "of the only volume");
    world.Make("set");
    Pack(world);
    const LaunchSeen seen = StartArchive(world);
    const std::string unpacked = seen.child.directory;
    world.Expect(seen, {.status = 7,
                        .out = SaysFoundIn(unpacked),
                        .arguments = StartedFrom(unpacked, {"--target", "a b"}),
                        .env = {.media = unpacked}});
    EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(kUmaskOfTheArchive));
  });
}

/// The staged copy stays when the archive removes its files, and has modes by the umask of the
/// archive.
TEST_F(SelfExtractingArchive, LeavesTheStagedCopyOfAMediaThatLacksAVolume) {
  ForAllStarters([](CarrierWorld& world) {
    world.MakeSet(2, "flat");
    Pack(world);
    ExpectStaged(world, kUmaskOfTheArchive);
  });
}

TEST_F(SelfExtractingArchive, StagesWithTheUmaskOfTheCallerOnDemand) {
  CarrierWorld world;
  world.MakeSet(2, "flat");
  Pack(world, {"--keep-umask"});
  ExpectStaged(world, kOwnUmask);
}

}  // namespace
}  // namespace kvl::test
