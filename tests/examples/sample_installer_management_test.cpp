// The sample installer in software management mode.

#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

std::string Lists(const std::string& media) {
  return media +
         ", in: {target}\n"
         "  bin/sample-tool-1\n"
         "  share/sample suite/volume 1/read me.txt\n"
         "  share/sample suite/volume 1/table.dat\n" +
         (media.ends_with("incomplete") ? "" : "  bin/sample-tool -> sample-tool-1\n");
}

const std::string kAllUnchanged = "All 3 files are unchanged in: {target}\n";
const std::string kNothing = "Nothing is installed in: {target}\n";

/// Manages an installation in {target}.
class SampleInstallation : public testing::Test, protected SampleWorld {
 protected:
  /// Installs a media of one volume in {media}.
  void Install() const {
    if (!fs::exists(Path("media"))) Media();
    ASSERT_EQ(Start("media", {"--target", "{target}"}).status, 0);
  }

  void ExpectAction(const std::string& action, const Outcome& expected) const {
    SCOPED_TRACE(action);
    Expect("media", {"-SoftMgt", action, "--target", "{target}"}, expected);
  }

  /// Expects that a rollback leaves {target} empty.
  void ExpectRollback() const {
    ExpectAction("-Rollback", {0, "Removed the installation from: {target}\n"});
    EXPECT_THAT(Target(), IsEmpty());
    EXPECT_TRUE(fs::is_directory(Path("target")));
  }

  std::vector<std::string> Target() const { return DescribeTree(Path("target")); }
};

TEST_F(SampleInstallation, IsListedAndCheckedWithoutChanges) {
  Install();
  const auto before = DescribeTreeExactly(Path("."));
  ExpectAction("-List", {0, Lists("SAMPLE-1, 1 volume(s), installed")});
  ExpectAction("-Check", {0, kAllUnchanged});
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

TEST_F(SampleInstallation, CannotBeRolledBackAfterCommit) {
  Install();
  const Outcome committed = {
      0, kAllUnchanged + "Committed, a rollback is no longer possible: {target}\n"};
  ExpectAction("-Commit", committed);
  const auto left = TreeOf({.volumes = {"media"}, .state = "committed"});
  EXPECT_EQ(Target(), left);
  ExpectAction("-List", {0, Lists("SAMPLE-1, 1 volume(s), committed")});
  ExpectAction("-Check", {0, kAllUnchanged});
  ExpectAction("-Commit", committed);
  ExpectAction(
      "-Rollback",
      {7, "",
       "sample-installer: the installation is committed, so it cannot be rolled back: {target}\n"});
  EXPECT_EQ(Target(), left);
}

TEST_F(SampleInstallation, IsRemovedByRollback) {
  Install();
  ExpectRollback();
  ExpectAction("-List", {0, kNothing});
  Install();
  EXPECT_EQ(Target(), TreeOf({.volumes = {"media"}}));
}

TEST_F(SampleInstallation, IsRemovedByRollbackWithoutOtherFiles) {
  Install();
  Directory().Write("target/share/sample suite/other", "kept");
  Directory().Link("target/bin/link", "sample-tool-1");
  ExpectAction("-Rollback", {0, "Removed the installation from: {target}\n"});
  EXPECT_THAT(Target(),
              ElementsAre("d 755 bin", "d 755 share", "d 755 share/sample suite",
                          "f 644 share/sample suite/other = kept", "l bin/link -> sample-tool-1"));
}

TEST_F(SampleInstallation, CanBeRolledBackAgainAfterAFailure) {
  Install();
  fs::remove(Path("target/bin/sample-tool-1"));
  Directory().MakeDir("target/bin/sample-tool-1/of somebody else");
  ExpectFailure("media", {"-SoftMgt", "-Rollback", "--target", "{target}"}, 5,
                kCannotWriteInto + std::string("{target}"));
  EXPECT_TRUE(fs::exists(Path("target/.sample-suite/files")));
  fs::remove_all(Path("target/bin/sample-tool-1"));
  ExpectRollback();
}

TEST_F(SampleInstallation, FailsAllActionsExceptListIfItDoesNotExist) {
  Media();
  ExpectAction("-List", {0, kNothing});
  for (const char* action : {"-Check", "-Commit", "-Rollback"}) {
    ExpectAction(action, {7, "", "sample-installer: nothing is installed in: {target}\n"});
  }
  EXPECT_FALSE(fs::exists(Path("target")));
}

TEST_F(SampleInstallation, FailsCheckAndCommitWhenItIsDamaged) {
  Install();
  Directory().Write("target/bin/sample-tool-1", "changed");
  fs::remove(Path("target/share/sample suite/volume 1/table.dat"));
  fs::remove(Path("target/bin/sample-tool"));
  Directory().Link("target/bin/sample-tool", "elsewhere");
  for (const char* action : {"-Check", "-Commit"}) {
    ExpectAction(
        action,
        {4, "",
         "sample-installer: wrong or missing: {target/bin/sample-tool}\n"
         "sample-installer: wrong or missing: {target/bin/sample-tool-1}\n"
         "sample-installer: wrong or missing: {target/share/sample suite/volume 1/table.dat}\n"
         "sample-installer: the installation is damaged: {target}\n"});
  }
  EXPECT_EQ(ReadFile(Path("target/.sample-suite/state")), "installed\n");
  ExpectRollback();
}

TEST_F(SampleInstallation, CanOnlyBeListedOrRolledBackWhenItIsIncomplete) {
  Media();
  Media({.volumes = 3, .directory = "three"});
  fs::remove_all(Path("three/2"));
  ASSERT_EQ(Start("three/1", {"--target", "{target}"}).status, 3);
  ExpectAction("-List", {0, Lists("SAMPLE-1, 3 volume(s), incomplete")});
  for (const char* action : {"-Check", "-Commit"}) {
    ExpectAction(action, {7, "", "sample-installer: the installation is incomplete: {target}\n"});
  }
  ExpectRollback();
}

TEST_F(SampleInstallation, IsLookedForTwoLevelsAboveTheMediaWithoutATarget) {
  Media({.layout = "sibling", .directory = "the suite/media"});
  ASSERT_EQ(Start("the suite/media/1", {"--target", "{the suite}"}).status, 0);
  Expect("the suite/media/1", {"-SoftMgt", "-Check"},
         {0, "All 6 files are unchanged in: {the suite}\n"});
}

}  // namespace
}  // namespace kvl::test
