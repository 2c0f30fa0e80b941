#include "launcher/run_plan.h"

#include "console/logger.h"
#include "launcher/installer_command.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

/// A plan for the media in "1", and the messages, variables and state that making it left.
struct Planned {
  RunPlan plan;
  std::string messages;
  Environment env;
  LauncherState state;
};

Planned PlanFor(const LaunchWorld& world, const Environment& variables = {},
                const LauncherState& asked = {}) {
  Environment all = variables;
  all.insert({{"KVL_OS", "linux"}, {"TMPDIR", world.Path("tmp")}});
  const ScopedEnv env(all);
  Planned made;
  made.state = asked;
  made.state.MediaDir = KVLInsIO::InsPath(world.Path("1"));
  made.state.InstallerExeName = "installer";
  Logger logger([&](std::string_view message) { made.messages += message; });
  made.plan = PlanRun(made.state, logger);
  made.env = EnvChanges(all, CurrentEnvironment());
  return made;
}

TEST(PlanRun, OfACompleteMediaStartsTheInstallerInPlace) {
  LaunchWorld world;
  world.OneVolume();
  const Planned made = PlanFor(world);
  EXPECT_FALSE(made.plan.Status);
  EXPECT_FALSE(made.plan.Abort);
  EXPECT_EQ(made.plan.Source, InstallerSource::kCurrentMedia);
  EXPECT_EQ(made.plan.InstallerCandidate, world.Path(InstallerOf("1")));
  EXPECT_EQ(made.plan.VolumeCount, 1);
  EXPECT_THAT(made.plan.VolumePaths, IsEmpty());
  EXPECT_FALSE(made.plan.CopyInstaller);
  EXPECT_THAT(made.plan.Copies, IsEmpty());
  EXPECT_EQ(made.plan.OriginalMediaDir, "");
  EXPECT_EQ(made.plan.TempRoot, world.Path("tmp"));
  EXPECT_EQ(WithoutIdentifiers(made.plan.StagingDir), world.Path("tmp/<id>/"));
  EXPECT_EQ(made.plan.CommandLine, CommandOf(StartedFrom(world.Path("1"))));
  EXPECT_EQ(made.messages, world.Text(SaysFoundIn("{1}")));
  EXPECT_EQ(made.env, (Environment{{"KVLAdmInstVolumesCount", ""},
                                   {"KVLAdmInstMTBDIR", ""},
                                   {"KVLAdmInstFirstAMVolume", ""},
                                   {"KVLAdmInstFirstAMPath", ""},
                                   {"KVLAdmInstAMRelativePath", ""}}));
  EXPECT_TRUE(made.state.ManagementMode);
}

TEST(PlanRun, OfAnIncompleteMediaStagesAndTouchesNothing) {
  LaunchWorld world;
  world.VolumeMissing();
  const std::vector<std::string> before = DescribeTreeExactly(world.Path("."));
  const Planned made = PlanFor(world);
  const RunPlan& plan = made.plan;
  EXPECT_TRUE(plan.CopyInstaller);
  EXPECT_EQ(plan.VolumeCount, 0);
  EXPECT_EQ(plan.OriginalMediaDir, world.Path("1"));
  std::vector<std::string> pieces;
  for (const StagingCopy& copy : plan.Copies) {
    pieces.push_back(fs::path(copy.source).filename());
    EXPECT_EQ(copy.source, world.Path("1/" + pieces.back()));
    EXPECT_EQ(copy.destination, plan.StagingDir + pieces.back());
  }
  EXPECT_EQ(pieces, StagedTree().pieces);
  EXPECT_TRUE(plan.AtStart.InstallerCopied);
  EXPECT_EQ(plan.AtStart.MediaDir.Str() + "/", plan.StagingDir);
  EXPECT_EQ(plan.CommandLine, CommandOf(StartedFrom(plan.AtStart.MediaDir.Str())));
  EXPECT_EQ(made.state.MediaDir.Str(), world.Path("1"));
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(PlanRun, WithoutTMPDIRStagesBelowSlashTmp) {
  LaunchWorld world;
  world.VolumeMissing();
  EXPECT_EQ(WithoutIdentifiers(PlanFor(world, {{"TMPDIR", ""}}).plan.StagingDir), "/tmp/<id>/");
}

TEST(PlanRun, TellsTheFactsOfTheAmVolumes) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("2").Marker(1, "SET-A");
  world.Volume(".").Marker(4, "AM-A");
  const FirstAmVolume first = PlanFor(world).plan.Scan.first_am;
  EXPECT_EQ(first.number, 4);
  EXPECT_EQ(first.directory.Str(), world.Path("."));
  EXPECT_EQ(first.tag, "AM-A");
  EXPECT_EQ(first.relative.Str(), "");
}

TEST(PlanRun, EndsWithTheNumberOfVolumesWhenThatIsAsked) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("2").Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
  const Planned made = PlanFor(world, {{"KVLAdmODTMultiVolumes", "1"}});
  EXPECT_EQ(static_cast<int>(*made.plan.Status), 2);
  EXPECT_THAT(made.plan.VolumePaths, ElementsAre(world.Path("2")));
  EXPECT_FALSE(made.env.contains("KVLAdmInstVolumePath_2"));
  EXPECT_EQ(made.plan.CommandLine, "");
}

TEST(PlanRun, EndsBeforeTheScanWithoutAnInstaller) {
  LaunchWorld world;
  world.Volume("1").Announces("no number");
  const Planned made = PlanFor(world);
  EXPECT_EQ(made.plan.Status, ExitStatus::kNoInstaller);
  EXPECT_EQ(made.messages, world.Text(SaysNoneIn("{1}") + says::NoInstaller()));
  EXPECT_EQ(made.env, Environment());
}

TEST(PlanRun, EndsWhereAnExternalMediaHasABlankInItsPath) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("an ext").Installer();
  LauncherState asked;
  asked.InstallerPathArg = world.Path("an ext");
  const Planned made = PlanFor(world, {{"KVL_ZOLVEN_Installer", "/never/looked/at"}}, asked);
  EXPECT_EQ(made.plan.Status, ExitStatus::kBlankInInstallerMedia);
  EXPECT_EQ(made.plan.MediaWithBlank, world.Path("an ext"));
  EXPECT_THAT(made.messages, testing::Not(testing::HasSubstr("never")));
}

TEST(RunPlan, IsEmptyAtFirst) {
  EXPECT_EQ(RunPlan().VolumeCount, 0);
  EXPECT_FALSE(RunPlan().AtStart.UIFlag);
}

TEST(PlanRun, KeepsTheExceptionThatAbortsTheRun) {
  LaunchWorld world;
  world.OneVolume().Volume("1").Announces("no number");
  const Planned made = PlanFor(world);
  ASSERT_TRUE(made.plan.Abort);
  EXPECT_THROW(std::rethrow_exception(made.plan.Abort), std::invalid_argument);
  EXPECT_EQ(made.plan.CommandLine, "");
}

TEST(ExportVolumePaths, SetsAVariableForEachPathFromTwoVolumesOn) {
  const Environment before = {{"KVLAdmInstVolumePath_2", "replaced"},
                              {"KVLAdmInstVolumePath_11", "left as it was"}};
  std::vector<std::string> paths;
  Environment all;
  for (const char* number : {"2", "3", "4", "5", "6", "7", "8", "9", "10"}) {
    paths.push_back(std::string("/m/") + number);
    all[std::string("KVLAdmInstVolumePath_") + number] = paths.back();
  }
  for (const int code : {-1, 0, 1, 2, 4}) {
    const ScopedEnv env(before);
    ExportVolumePaths(code, paths);
    EXPECT_EQ(EnvChanges(before, CurrentEnvironment()), code < 2 ? Environment() : all) << code;
  }
  const ScopedEnv env(before);
  ExportVolumePaths(2, {});
  EXPECT_EQ(CurrentEnvironment(), before);
}

TEST(InstallerCommand, QuotesAllButAQuotedPathAndEscapesNothing) {
  EXPECT_EQ(InstallerCommand("/m y/x", {"-CDpath", "/m y", ""}), R"("/m y/x" "-CDpath" "/m y" "")");
  EXPECT_EQ(InstallerCommand("", {}), R"("")");
  EXPECT_EQ(InstallerCommand(R"("/m/x)", {"a"}), R"("/m/x "a")");
  EXPECT_EQ(InstallerCommand(R"(")", {"a"}), R"(" "a")");
  EXPECT_EQ(InstallerCommand(R"(/m"/x")", {}), R"("/m"/x"")");
  EXPECT_EQ(InstallerCommand("'/m/x'", {R"(say "hi")", R"(end\)", "it's", "a\nb", "\xff"}),
            "\"'/m/x'\" \"say \"hi\"\" \"end\\\" \"it's\" \"a\nb\" \"\xff\"");
}

}  // namespace
}  // namespace kvl::test
