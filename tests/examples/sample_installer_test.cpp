// The sample installer, started by the launcher from a sample media: what it installs.

#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(SampleInstaller, InstallsEveryLayoutInPlace) {
  struct Row {
    std::string layout, first, second, search;
  };
  const std::string one = "media/1/media/1", two = "media/2/media/2";
  const std::vector<Row> rows = {
      {"single", "media", "", ""},
      {"flat", "media", "media", says::Volumes("2", {}) + says::AllFound("{media}")},
      {"sibling", "media/1", "media/2", says::Volumes("2", {"{media/1}", "{media/2}"})},
      {"am", one, two,
       says::Volumes("2", {"{" + one + "}"}) + says::FoundAm("1", "{media/1}") +
           says::FoundAm("2", "{media/2}") + says::Found("2", "{" + two + "}")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    SampleWorld world;
    world.Media({.layout = row.layout, .volumes = row.second.empty() ? 1 : 2});
    Installation installation = {.volumes = {row.first}};
    if (!row.second.empty()) installation.volumes.push_back(row.second);
    world.ExpectInstallation(row.first, {.search = row.search}, installation);
    EXPECT_THAT(DescribeTree(world.Path("tmp")), IsEmpty());
  }
}

TEST(SampleInstaller, InstallsMoreThanNineVolumes) {
  SampleWorld world;
  world.Media({.layout = "sibling", .volumes = 10});
  const Outcome outcome = world.Start("media/1", {"--target", "{target}"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(LastLineOf(outcome.out), "Installed 30 files. Everything is in place.");
  Installation ten;
  for (int i = 1; i <= 10; ++i) ten.volumes.push_back("media/" + std::to_string(i));
  EXPECT_EQ(DescribeTree(world.Path("target")), world.TreeOf(ten));
}

TEST(SampleInstaller, OddNamesOfMediaAndTargetAreNoTrouble) {
  SampleWorld world;
  world.Media({.layout = "sibling", .directory = "it's [a]\nmedia*"});
  // Would be found if the media's name were taken for a pattern.
  world.Volume("it's a\nmedia/1")
      .File("inst/common/resources/msgcatalog/messages.txt", "product=Wrong\n");
  const Outcome outcome = world.Start("it's [a]\nmedia*/1", {"--target", "{the 'target'\n*}"});
  const std::string shown = "{}/it's [a]\n       media*/";
  ExpectOutcome(world, outcome,
                {0,
                 says::FoundInCurrentMedia(shown + "1/inst/linux/code/bin/sample-installer") +
                     says::Volumes("2", {shown + "1", shown + "2"}) +
                     "Sample Suite: installing 2 volume(s) of SAMPLE-1 into: {the 'target'\n*}\n"
                     "Volume 1: installed 3 files from: {it's [a]\nmedia*/1}\n"
                     "Volume 2: installed 3 files from: {it's [a]\nmedia*/2}\n"
                     "Installed 6 files. Everything is in place.\n",
                 ""});
  EXPECT_EQ(DescribeTree(world.Path("the 'target'\n*")),
            world.TreeOf({.volumes = {"it's [a]\nmedia*/1", "it's [a]\nmedia*/2"}}));
}

TEST(SampleInstaller, TheLastTargetCountsAndARelativeOneBeginsAtTheWorkingDirectory) {
  SampleWorld world;
  world.Media({.layout = "flat"});
  const Outcome outcome =
      world.Start("media", {"--target", "{first}", "--target", "new/with parents"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(DescribeTree(world.Path("new/with parents")),
            world.TreeOf({.volumes = {"media", "media"}}));
  EXPECT_FALSE(fs::exists(world.Path("first")));
}

TEST(SampleInstaller, OtherFilesInTheTargetStayAsTheyAre) {
  SampleWorld world;
  world.Media();
  world.Volume("target").File("bin/other", "kept").File("notes", "kept").Dir("share");
  std::vector<std::string> expected = world.TreeOf({.volumes = {"media"}});
  expected.push_back("f 644 bin/other = kept");
  expected.push_back("f 644 notes = kept");
  EXPECT_EQ(world.Start("media", {"--target", "{target}"}).status, 0);
  // Directories that were there are not recorded as made by the installation.
  EXPECT_EQ(ReadFile(world.Path("target/.sample-suite/directories")),
            "share/sample suite\nshare/sample suite/volume 1\n");
  world.Directory().Write("target/.sample-suite/directories",
                          "bin\nshare\nshare/sample suite\nshare/sample suite/volume 1\n");
  EXPECT_THAT(DescribeTree(world.Path("target")), testing::UnorderedElementsAreArray(expected));
}

TEST(SampleInstaller, NeitherRunInPlaceNorManagedNorStagedChangesTheMedia) {
  for (const std::string layout : {"sibling", "am"}) {
    SCOPED_TRACE(layout);
    SampleWorld world;
    world.Media({.layout = layout, .volumes = 3});
    const std::string first = layout == "am" ? "media/1/media/1" : "media/1";
    const auto complete = DescribeTreeExactly(world.Path("media"));
    EXPECT_EQ(world.Start(first, {"--target", "{target}"}).status, 0);
    EXPECT_EQ(world.Start(first, {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
    EXPECT_EQ(DescribeTreeExactly(world.Path("media")), complete);

    fs::remove_all(world.Path("media/3"));
    const auto without_third = DescribeTreeExactly(world.Path("media"));
    EXPECT_EQ(world.Start(first, {"--target", "{target}"}).status, 3);
    EXPECT_EQ(DescribeTreeExactly(world.Path("media")), without_third);
  }
}

/// Starts a media staged. When the installer asks for a volume, the volume arrives and "inst" of
/// the first one goes away, as when a drive holds one volume at a time.
Outcome StartAndBringVolume(const SampleWorld& world, const std::string& first_volume,
                            const std::string& from, const std::string& to) {
  constexpr char kScript[] = R"(
    mkfifo answers said
    "$1/StartTUI.sh" --target "$PWD/target" <answers >said &
    exec 3>answers
    while IFS= read -r line; do
      printf '%s\n' "$line"
      case $line in
        *'is expected in: '*)
          mv "$1/inst" 'inst of volume 1' && mv "$2" "$3" && echo >&3
          exec 3>&- ;;
      esac
    done <said
    wait $!)";
  return RunProgram({{"/bin/sh", "-c", kScript, "sh", first_volume, from, to},
                     {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world.Path("tmp")}},
                     world.Path(".")});
}

TEST(SampleInstaller, StagedItGoesOnWithAVolumeThatArrivesWhenItIsAskedFor) {
  SampleWorld world;
  world.Media({.volumes = 3});
  fs::rename(world.Path("media/3"), world.Path("volume 3"));
  const Outcome outcome = StartAndBringVolume(world, "media/1", "volume 3", "media/3");
  const Installation three = {.volumes = {"media/1", "media/2", "media/3"}};
  std::string installed = SaysInstalled(three);
  installed.insert(installed.find("Volume 3"),
                   "Volume 3 of SAMPLE-1 is expected in: {media/3} (Enter when it is there)\n");
  ExpectOutcome(
      world, outcome,
      {0, FindsInstallerIn("media/1") + says::Volumes("3", {"{media/1}", "{media/2}"}) + installed,
       says::Missing() + says::Staged()});
  EXPECT_EQ(DescribeTree(world.Path("target")), world.TreeOf(three));
}

TEST(SampleInstaller, AVolumeBesideTheMediaIsTakenEvenBelowAnOuterSetOfOthers) {
  SampleWorld world;
  world.Media({.layout = "sibling", .directory = "outer/4"});
  fs::rename(world.Path("outer/4/2"), world.Path("volume 2"));
  world.Volume("outer/4").Marker(4, "OUTER");
  const Outcome outcome = StartAndBringVolume(world, "outer/4/1", "volume 2", "outer/4/2");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(DescribeTree(world.Path("target")),
            world.TreeOf({.volumes = {"outer/4/1", "outer/4/2"}}));
}

TEST(SampleInstaller, ANumberOfVolumesBelowTwoMeansOne) {
  SampleWorld world;
  world.Media();
  for (const std::string number : {"0", "-2", "+1 volume"}) {
    SCOPED_TRACE(number);
    world.Volume("media").Announces(number);
    fs::remove_all(world.Path("target"));
    world.ExpectInstallation("media", {}, {.volumes = {"media"}});
  }
}

TEST(SampleInstaller, AMediaWithoutAMarkerOfItsFirstVolumeIsKnownByItsPayload) {
  SampleWorld world;
  world.Media({.layout = "sibling"});
  fs::remove(world.Path("media/1/1.txt"));
  world.ExpectInstallation(
      "media/1",
      {.search = says::ComposedOf("2"), .err = says::NoFirstMarker("{media/1}") + says::Staged()},
      {.volumes = {"media/1", "media/2"}, .tag = ""});
}

TEST(SampleInstaller, ReadsTheNumberOfVolumesAndTheTagsAsTheLauncherDoes) {
  SampleWorld world;
  world.Media({.layout = "sibling"});
  world.Volume("media/1").Announces(" +2 volumes").File("1.txt", "MTBDIR=SAMPLE-1\r\n");
  world.Volume("media/2").File("2.txt", " MTBDIR=x\nMTBDIR=SAMPLE-1\nMTBDIR=y\n");
  world.ExpectInstallation("media/1",
                           {.search = says::Volumes(" +2 volumes", {"{media/1}", "{media/2}"})},
                           {.volumes = {"media/1", "media/2"}});
}

TEST(SampleInstaller, TakesItsTextsFromTheFirstCatalogueOfThePathList) {
  struct Row {
    Environment catalogues;
    std::string product, finished;
  };
  const std::vector<Row> rows = {
      {{{"linux", "product=Own\n"}, {"common", "product=Shared\nfinished=Shared.\n"}}, "Own", ""},
      {{{"common", "finished=Done.\n#product=No\nproduct=A=B\n"}}, "A=B", "Done."},
      {{}, "(no message catalogue for: product)", "(no message catalogue for: finished)"},
  };
  SampleWorld world;
  world.Media();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.product);
    fs::remove_all(world.Path("target"));
    fs::remove_all(world.Path("media/inst/common/resources"));
    fs::remove_all(world.Path("media/inst/linux/resources"));
    for (const auto& [directory, text] : row.catalogues) {
      world.Volume("media/inst/" + directory).File("resources/msgcatalog/messages.txt", text);
    }
    const Outcome outcome = world.Start("media", {"--target", "{target}"});
    ExpectOutcome(world, outcome,
                  {0,
                   FindsInstallerIn("media") + row.product +
                       ": installing 1 volume(s) of SAMPLE-1 into: {target}\n"
                       "Volume 1: installed 3 files from: {media}\n"
                       "Installed 3 files. " +
                       row.finished + "\n",
                   ""});
  }
}

}  // namespace
}  // namespace kvl::test
