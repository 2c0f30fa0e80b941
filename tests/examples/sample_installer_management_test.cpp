// The sample installer in software management mode.

#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A media of one volume in {media}.
class ManagedWorld : public SampleWorld {
 public:
  ManagedWorld() { Media(); }

  void Install() const { ASSERT_EQ(Start("media", {"--target", "{target}"}).status, 0); }

  /// Claims the status and both complete streams of an action on {target}; the launcher's own
  /// messages go without saying.
  void Expect(const std::string& action, const Outcome& expected) const {
    SCOPED_TRACE(action);
    ExpectOutcome(*this, Start("media", {"-SoftMgt", action, "--target", "{target}"}),
                  {expected.status, FindsInstallerIn("media") + expected.out, expected.err});
  }

  std::vector<std::string> Target() const { return DescribeTree(Path("target")); }
  std::vector<std::string> InstalledTree(const std::string& state) const {
    return TreeOf({.volumes = {"media"}, .state = state});
  }
};

std::string Lists(const std::string& media) {
  return media +
         ", in: {target}\n"
         "  bin/sample-tool-1\n"
         "  share/sample suite/volume 1/read me.txt\n"
         "  share/sample suite/volume 1/table.dat\n";
}

const std::string kAllRight = "All 3 files are right in: {target}\n";

TEST(SampleInstallerManages, ListAndCheckTellAboutEveryFileAndChangeNothing) {
  const ManagedWorld world;
  world.Install();
  const auto before = DescribeTreeExactly(world.Path("."));
  world.Expect("-List", {0, Lists("SAMPLE-1, 1 volume(s), installed"), ""});
  world.Expect("-Check", {0, kAllRight, ""});
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(SampleInstallerManages, CommitChecksAndIsFinal) {
  const ManagedWorld world;
  world.Install();
  const std::string committed = kAllRight + "Final from now on: {target}\n";
  world.Expect("-Commit", {0, committed, ""});
  EXPECT_EQ(world.Target(), world.InstalledTree("committed"));
  world.Expect("-List", {0, Lists("SAMPLE-1, 1 volume(s), committed"), ""});
  world.Expect("-Check", {0, kAllRight, ""});
  world.Expect("-Commit", {0, committed, ""});
  world.Expect("-Rollback", {7, "", "sample-installer: committed, cannot be undone: {target}\n"});
  EXPECT_EQ(world.Target(), world.InstalledTree("committed"));
}

TEST(SampleInstallerManages, RollbackRemovesAllThatWasInstalled) {
  const ManagedWorld world;
  world.Install();
  world.Expect("-Rollback", {0, "Removed from: {target}\n", ""});
  EXPECT_THAT(world.Target(), IsEmpty());
  EXPECT_TRUE(fs::is_directory(world.Path("target")));
  world.Expect("-List", {0, "Nothing is installed in: {target}\n", ""});
  world.Install();
  EXPECT_EQ(world.Target(), world.InstalledTree("installed"));
}

TEST(SampleInstallerManages, RollbackLeavesWhatSomebodyElsePutThere) {
  const ManagedWorld world;
  world.Install();
  world.Directory().Write("target/share/sample suite/other", "kept");
  world.Directory().Link("target/bin/link", "sample-tool-1");
  world.Expect("-Rollback", {0, "Removed from: {target}\n", ""});
  EXPECT_THAT(world.Target(),
              ElementsAre("d 755 bin", "d 755 share", "d 755 share/sample suite",
                          "f 644 share/sample suite/other = kept", "l bin/link -> sample-tool-1"));
}

TEST(SampleInstallerManages, RollbackThatCannotRemoveAFileEndsWithStatus5AndCanBeRepeated) {
  const ManagedWorld world;
  world.Install();
  fs::remove(world.Path("target/bin/sample-tool-1"));
  world.Directory().MakeDir("target/bin/sample-tool-1/of somebody else");
  const std::vector<std::string> again = {"-SoftMgt", "-Rollback", "--target", "{target}"};
  const Outcome outcome = world.Start("media", again);
  EXPECT_EQ(outcome.status, 5);
  EXPECT_EQ(LastLineOf(outcome.err),
            world.Text("sample-installer: cannot write into the target directory: {target}"));
  EXPECT_TRUE(fs::exists(world.Path("target/.sample-suite/files")));
  fs::remove_all(world.Path("target/bin/sample-tool-1"));
  world.Expect("-Rollback", {0, "Removed from: {target}\n", ""});
  EXPECT_THAT(world.Target(), IsEmpty());
}

TEST(SampleInstallerManages, WhereNothingIsInstalledOnlyListIsNoError) {
  const ManagedWorld world;
  world.Expect("-List", {0, "Nothing is installed in: {target}\n", ""});
  for (const char* action : {"-Check", "-Commit", "-Rollback"}) {
    world.Expect(action, {7, "", "sample-installer: nothing is installed in: {target}\n"});
  }
  EXPECT_FALSE(fs::exists(world.Path("target")));
}

TEST(SampleInstallerManages, ADamagedInstallationIsNeitherRightNorCommitted) {
  const ManagedWorld world;
  world.Install();
  world.Directory().Write("target/bin/sample-tool-1", "changed");
  fs::remove(world.Path("target/share/sample suite/volume 1/table.dat"));
  const std::string damaged =
      "sample-installer: wrong or missing: {target/bin/sample-tool-1}\n"
      "sample-installer: wrong or missing: "
      "{target/share/sample suite/volume 1/table.dat}\n"
      "sample-installer: damaged: {target}\n";
  world.Expect("-Check", {4, "", damaged});
  world.Expect("-Commit", {4, "", damaged});
  EXPECT_EQ(ReadFile(world.Path("target/.sample-suite/state")), "installed\n");
  world.Expect("-Rollback", {0, "Removed from: {target}\n", ""});
  EXPECT_THAT(world.Target(), IsEmpty());
}

TEST(SampleInstallerManages, AnIncompleteInstallationCanBeListedAndUndoneOnly) {
  const ManagedWorld world;
  world.Media({.volumes = 3, .directory = "three"});
  fs::remove_all(world.Path("three/2"));
  ASSERT_EQ(world.Start("three/1", {"--target", "{target}"}).status, 3);
  const std::string incomplete = "sample-installer: incomplete: {target}\n";
  world.Expect("-List", {0, Lists("SAMPLE-1, 3 volume(s), incomplete"), ""});
  world.Expect("-Check", {7, "", incomplete});
  world.Expect("-Commit", {7, "", incomplete});
  world.Expect("-Rollback", {0, "Removed from: {target}\n", ""});
  EXPECT_THAT(world.Target(), IsEmpty());
}

TEST(SampleInstallerManages, TheDirectoryTwoLevelsAboveTheMediaWithoutATarget) {
  SampleWorld world;
  world.Media({.layout = "sibling", .directory = "the suite/media"});
  ASSERT_EQ(world.Start("the suite/media/1", {"--target", "{the suite}"}).status, 0);
  const Outcome outcome = world.Start("the suite/media/1", {"-SoftMgt", "-Check"});
  ExpectOutcome(
      world, outcome,
      {0, FindsInstallerIn("the suite/media/1") + "All 6 files are right in: {the suite}\n", ""});
}

TEST(SampleInstallerManages, WithoutLookingForVolumesAndWithoutStaging) {
  SampleWorld world;
  world.Media({.volumes = 3});
  fs::remove_all(world.Path("media/2"));
  const auto all = DescribeTree(world.Path(".")), media = DescribeTreeExactly(world.Path("media"));
  ExpectOutcome(world, world.Start("media/1", {"-SoftMgt", "-List", "--target", "{target}"}),
                {0, FindsInstallerIn("media/1") + "Nothing is installed in: {target}\n", ""});
  EXPECT_EQ(DescribeTree(world.Path(".")), all);
  EXPECT_EQ(DescribeTreeExactly(world.Path("media")), media);
}

}  // namespace
}  // namespace kvl::test
