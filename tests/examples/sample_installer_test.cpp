// Installations by the sample installer, which the launcher starts from a sample media.

#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

class SampleInstaller : public testing::Test, protected SampleWorld {
 protected:
  /// Starts a media that the launcher stages. When the installer asks for a volume, moves `from` to
  /// `to`, and removes "inst" of volume 1, as if a drive held one volume at a time.
  Outcome StartAndBringVolume(const std::string& first_volume, const std::string& from,
                              const std::string& to) const {
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
                       {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", Path("tmp")}},
                       Path(".")});
  }
};

TEST_F(SampleInstaller, InstallsEveryLayoutInPlace) {
  struct Row {
    std::string layout, search;
    std::vector<std::string> volumes;
  };
  const std::string one = "media/1/media/1", two = "media/2/media/2";
  const std::vector<Row> rows = {
      {"single", "", {"media"}},
      {"flat", says::Volumes("2", {}) + says::AllFound("{media}"), {"media", "media"}},
      {"sibling", says::Volumes("2", {"{media/1}", "{media/2}"}), {"media/1", "media/2"}},
      {"am",
       says::Volumes("2", {"{" + one + "}"}) + says::FoundAm("1", "{media/1}") +
           says::FoundAm("2", "{media/2}") + says::Found("2", "{" + two + "}"),
       {one, two}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    for (const char* name : {"media", "target"}) Remove(name);
    Media({.layout = row.layout, .volumes = static_cast<int>(row.volumes.size())});
    ExpectInstallation(row.volumes[0], {.search = row.search}, {.volumes = row.volumes});
    EXPECT_THAT(DescribeTree(Path("tmp")), IsEmpty());
  }
}

TEST_F(SampleInstaller, InstallsMoreThanNineVolumes) {
  Media({.layout = "sibling", .volumes = 10});
  Installation ten;
  std::vector<std::string> found;
  for (int i = 1; i <= 10; ++i) {
    ten.volumes.push_back("media/" + std::to_string(i));
    found.push_back("{" + ten.volumes.back() + "}");
  }
  ExpectInstallation("media/1", {.search = says::Volumes("10", found)}, ten);
}

/// Uses each shell of this machine. With busybox, the installer finds no tools except those of
/// busybox.
TEST_F(SampleInstaller, InstallsOddNamesWithEveryShell) {
  for (const char* name :
       {"a  b", "a\\b", "\\\\", "a\\n", "\xFF", "-n", "a:b/c", "*", "$x'\"", "\t"}) {
    Directory().Write(std::string("payload/") + name, std::string("of ") + name);
  }
  Directory().Link("payload/d\te/\\t", "../d\te/./\\\t");
  Directory().Link("payload/-l", "-n");
  Directory().MakeDir("payload/d\te/\\\t");
  const std::string installer = SourceFile("examples/sample-installer"), media = Path("media");
  const Outcome made =
      RunProgram({{BuiltProgram("kvl-media"), "make", "--tag", "SAMPLE-1", "--installer", installer,
                   "--launcher", installer, "--", Path("payload"), media}});
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string busybox = "/bin/busybox", tools = Directory().MakeDir("tools");
  for (const std::vector<std::string>& shell :
       std::vector<std::vector<std::string>>{{"/bin/sh"}, {"/bin/bash"}, {busybox, "sh"}}) {
    SCOPED_TRACE(shell.front());
    if (!fs::exists(shell.front())) continue;
    std::string path = "/usr/bin:/bin";
    if (shell.front() == busybox) {
      ASSERT_EQ(RunProgram({{busybox, "--install", "-s", tools}}).status, 0);
      path = tools;
    }
    std::vector<std::string> command = shell;
    command.insert(command.end(), {installer, "-CDpath", media, "--target", Path("target")});
    const Outcome seen = RunProgram({command, {{"PATH", path}}});
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
    const Outcome check =
        RunProgram({{"/usr/bin/sha256sum", "-c", "--quiet", "--strict", ".sample-suite/files"},
                    {},
                    Path("target")});
    EXPECT_EQ(check, (Outcome{}));
    fs::remove_all(Path("target/.sample-suite"));
    EXPECT_EQ(DescribeTree(Path("target")), DescribeTree(Path("payload")));
    Remove("target");
  }
}

TEST_F(SampleInstaller, InstallsVolumesThatHoldOnlyLinksOrDirectories) {
  for (const std::string layout : {"flat", "sibling", "am"}) {
    SCOPED_TRACE(layout);
    for (const char* name : {"media", "target"}) Remove(name);
    Directory().Link("payload/1/link", "below/all");
    Directory().Link("payload/1/top", "below/..");
    Directory().MakeDir("payload/2/below/all/of it");
    const std::string installer = SourceFile("examples/sample-installer");
    const Outcome made = RunProgram(
        {{BuiltProgram("kvl-media"), "make", "--presorted", "--layout", layout, "--tag", "SAMPLE-1",
          "--installer", installer, "--inst", SourceFile("examples/sample-inst"), "--launcher",
          BuiltProgram("kvl-launcher"), Path("payload"), Path("media")},
         {{"PATH", "/usr/bin:/bin"}}});
    ASSERT_EQ(made.status, 0) << made.err;
    const std::string first = layout == "flat" ? "media" : "media/1";
    const Outcome seen =
        Start(layout == "am" ? first + "/media/1" : first, {"--target", "{target}"});
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(ReadFile(Path("target/.sample-suite/state")), "installed\n");
    fs::remove_all(Path("target/.sample-suite"));
    EXPECT_THAT(DescribeTree(Path("target")),
                ElementsAre("d 755 below", "d 755 below/all", "d 755 below/all/of it",
                            "l link -> below/all", "l top -> below/.."));
    Remove("payload");
  }
}

TEST_F(SampleInstaller, InstallsALinkThatIsMissingOnTheMedia) {
  Media();
  const auto whole = TreeOf({.volumes = {"media"}});
  Remove("media/payload/1/bin/sample-tool");
  EXPECT_EQ(Start("media", {"--target", "{target}"}).status, 0);
  EXPECT_EQ(DescribeTree(Path("target")), whole);
}

TEST_F(SampleInstaller, AcceptsOddNamesOfMediaAndTarget) {
  Media({.layout = "sibling", .directory = "it's [a]\nmedia*"});
  // The installer would find this catalogue if it used the media's name as a pattern.
  Volume("it's a\nmedia/1")
      .File("inst/common/resources/msgcatalog/messages.txt", "product=Wrong\n");
  const Outcome outcome = Start("it's [a]\nmedia*/1", {"--target", "{the 'target'\n*}"});
  const std::string shown = "{}/it's [a]\n       media*/";
  ExpectOutcome(outcome,
                {0,
                 says::FoundInCurrentMedia(shown + "1/inst/linux/code/bin/sample-installer") +
                     says::Volumes("2", {shown + "1", shown + "2"}) +
                     "Sample Suite: installing 2 volume(s) of SAMPLE-1 into: {the 'target'\n*}\n"
                     "Volume 1: installed 3 files from: {it's [a]\nmedia*/1}\n"
                     "Volume 2: installed 3 files from: {it's [a]\nmedia*/2}\n"
                     "Installed 6 files. Everything is in place.\n",
                 ""});
  EXPECT_EQ(DescribeTree(Path("the 'target'\n*")),
            TreeOf({.volumes = {"it's [a]\nmedia*/1", "it's [a]\nmedia*/2"}}));
}

TEST_F(SampleInstaller, TakesTheLastTargetBelowTheWorkingDirectory) {
  Media({.layout = "flat"});
  const Outcome outcome = Start("media", {"--target", "{first}", "--target", "new/with parents"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(DescribeTree(Path("new/with parents")), TreeOf({.volumes = {"media", "media"}}));
  EXPECT_FALSE(fs::exists(Path("first")));
}

TEST_F(SampleInstaller, LeavesOtherFilesInTheTargetAlone) {
  Media();
  Volume("target").File("bin/other", "kept").File("notes", "kept").Dir("share");
  std::vector<std::string> expected = TreeOf({.volumes = {"media"}});
  expected.push_back("f 644 bin/other = kept");
  expected.push_back("f 644 notes = kept");
  EXPECT_EQ(Start("media", {"--target", "{target}"}).status, 0);
  // The installer records only the directories that it has made.
  EXPECT_EQ(ReadFile(Path("target/.sample-suite/directories")),
            "share/sample suite\nshare/sample suite/volume 1\n");
  Directory().Write("target/.sample-suite/directories",
                    "bin\nshare\nshare/sample suite\nshare/sample suite/volume 1\n");
  EXPECT_THAT(DescribeTree(Path("target")), testing::UnorderedElementsAreArray(expected));
}

TEST_F(SampleInstaller, NeverChangesTheMedia) {
  for (const std::string layout : {"sibling", "am"}) {
    SCOPED_TRACE(layout);
    for (const char* name : {"media", "target"}) Remove(name);
    Media({.layout = layout, .volumes = 3});
    const std::string first = layout == "am" ? "media/1/media/1" : "media/1";
    const auto complete = DescribeTreeExactly(Path("media"));
    EXPECT_EQ(Start(first, {"--target", "{target}"}).status, 0);
    EXPECT_EQ(Start(first, {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
    EXPECT_EQ(DescribeTreeExactly(Path("media")), complete);

    Remove("media/3");
    const auto without_third = DescribeTreeExactly(Path("media"));
    EXPECT_EQ(Start(first, {"--target", "{target}"}).status, 3);
    EXPECT_EQ(DescribeTreeExactly(Path("media")), without_third);
  }
}

TEST_F(SampleInstaller, GoesOnWithAVolumeThatArrivesOnDemand) {
  Media({.volumes = 3});
  fs::rename(Path("media/3"), Path("volume 3"));
  const Installation three = {.volumes = {"media/1", "media/2", "media/3"}};
  std::string installed = SaysInstalled(three);
  installed.insert(
      installed.find("Volume 3"),
      "Volume 3 of SAMPLE-1 is expected in: {media/3} (press Enter when it is there)\n");
  ExpectOutcome(
      StartAndBringVolume("media/1", "volume 3", "media/3"),
      {0, FindsInstallerIn("media/1") + says::Volumes("3", {"{media/1}", "{media/2}"}) + installed,
       says::Missing() + says::Staged()});
  EXPECT_EQ(DescribeTree(Path("target")), TreeOf(three));
}

TEST_F(SampleInstaller, FindsAVolumeBesideTheMediaInsideAnOuterSet) {
  Media({.layout = "sibling", .directory = "outer/4"});
  fs::rename(Path("outer/4/2"), Path("volume 2"));
  Make("outer/4: 4=OUTER");
  const Outcome outcome = StartAndBringVolume("outer/4/1", "volume 2", "outer/4/2");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(DescribeTree(Path("target")), TreeOf({.volumes = {"outer/4/1", "outer/4/2"}}));
}

TEST_F(SampleInstaller, TakesANumberOfVolumesBelowTwoAsOne) {
  Media();
  for (const std::string number : {"0", "-2", "+1 volume"}) {
    SCOPED_TRACE(number);
    Volume("media").Announces(number);
    Remove("target");
    ExpectInstallation("media", {}, {.volumes = {"media"}});
  }
}

TEST_F(SampleInstaller, RecognizesVolumesWithoutAFirstMarkerByTheirPayload) {
  Media({.layout = "sibling"});
  fs::remove(Path("media/1/1.txt"));
  ExpectInstallation(
      "media/1",
      {.search = says::ComposedOf("2"), .err = says::NoFirstMarker("{media/1}") + says::Staged()},
      {.volumes = {"media/1", "media/2"}, .tag = ""});
}

TEST_F(SampleInstaller, ReadsTheNumberAndTheTagsAsTheLauncherDoes) {
  Media({.layout = "sibling"});
  Volume("media/1").Announces(" +2 volumes").File("1.txt", "MTBDIR=SAMPLE-1\r\n");
  Volume("media/2").File("2.txt", " MTBDIR=x\nMTBDIR=SAMPLE-1\nMTBDIR=y\n");
  ExpectInstallation("media/1",
                     {.search = says::Volumes(" +2 volumes", {"{media/1}", "{media/2}"})},
                     {.volumes = {"media/1", "media/2"}});
}

TEST_F(SampleInstaller, TakesItsTextsFromTheFirstCatalogueOfThePath) {
  struct Row {
    Environment catalogues;
    std::string product, finished;
  };
  const std::vector<Row> rows = {
      {{{"linux", "product=Own\n"}, {"common", "product=Shared\nfinished=Shared.\n"}}, "Own", ""},
      {{{"common", "finished=Done.\n#product=No\nproduct=A=B\n"}}, "A=B", "Done."},
      {{}, "(no message catalogue for: product)", "(no message catalogue for: finished)"},
  };
  Media();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.product);
    Remove("target");
    for (const char* os : {"common", "linux"})
      Remove(std::string("media/inst/") + os + "/resources");
    for (const auto& [directory, text] : row.catalogues) {
      Volume("media/inst/" + directory).File("resources/msgcatalog/messages.txt", text);
    }
    Expect("media", {"--target", "{target}"},
           {0, row.product +
                   ": installing 1 volume(s) of SAMPLE-1 into: {target}\n"
                   "Volume 1: installed 3 files from: {media}\n"
                   "Installed 3 files. " +
                   row.finished + "\n"});
  }
}

}  // namespace
}  // namespace kvl::test
