// The sample installer when something is wrong: what it says, its status, and what it leaves.

#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// Three volumes side by side in {media}, the third one missing.
void TwoOfThree(const SampleWorld& world) {
  world.Media({.volumes = 3});
  fs::remove_all(world.Path("media/3"));
}

const Installation kTwoOfThree = {.volumes = {"media/1", "media/2"}, .of = 3};
const std::string kFoundTwo = says::Volumes("3", {"{media/1}", "{media/2}"});

std::string Asks(const std::string& volume, const std::string& directory) {
  return "Volume " + volume + " of SAMPLE-1 is expected in: " + directory +
         " (Enter when it is there)\n";
}

std::string SaysMissing(const std::string& volume) {
  return "sample-installer: volume " + volume + " is missing; the installation is incomplete\n";
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeDoesNotCome) {
  const std::string asks = Asks("3", "{media/3}");
  SampleWorld world;
  TwoOfThree(world);
  for (const auto& [input, questions] :
       {std::pair("", asks), {"\n\n", asks + asks + asks}, {"no line feed", asks}}) {
    SCOPED_TRACE(input);
    fs::remove_all(world.Path("target"));
    world.ExpectInstallation(
        "media/1", {3, kFoundTwo, questions, says::Missing() + says::Staged() + SaysMissing("3")},
        kTwoOfThree, {.input = input});
  }
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeOfAnOuterSetDoesNotCome) {
  const std::string first = "media/1/media/1";
  SampleWorld world;
  world.Media({.layout = "am"});
  fs::remove_all(world.Path("media/2"));
  world.ExpectInstallation(
      first,
      {3, says::Volumes("2", {"{media/1/media/1}"}) + says::FoundAm("1", "{media/1}"),
       Asks("2", "{media/2/media/2}"), says::Staged() + SaysMissing("2")},
      {.volumes = {first}, .of = 2});
}

TEST(SampleInstallerFails, WithStatus3WhenOnlyTheMarkerOfAnOuterSetIsAbove) {
  SampleWorld world;
  world.Media({.layout = "sibling", .directory = "outer/4"});
  fs::remove_all(world.Path("outer/4/2"));
  world.Volume("outer/4").Marker(4, "OUTER");
  world.ExpectInstallation(
      "outer/4/1",
      {3, says::Volumes("2", {"{outer/4/1}"}) + says::FoundAm("4", "{outer/4}"),
       Asks("2", "{outer/5/2}"), says::Staged() + SaysMissing("2")},
      {.volumes = {"outer/4/1"}, .of = 2});
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeBelongsToAnotherMedia) {
  struct Row {
    std::string layout, first, marker, warning;
  };
  const std::vector<Row> rows = {
      {"flat", "media", "media/2.txt", says::WrongBeside("2", "OTHER", "SAMPLE-1")},
      {"sibling", "media/1", "media/2/2.txt",
       says::Wrong("Volume 2", "OTHER", "{media/2}", "SAMPLE-1")},
      {"am", "media/1/media/1", "media/2/media/2/2.txt",
       says::Wrong("Volume 2", "OTHER", "{media/2/media/2}", "SAMPLE-1")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    SampleWorld world;
    world.Media({.layout = row.layout});
    world.Directory().Write(row.marker, "MTBDIR=OTHER\n");
    const Outcome outcome = world.Start(row.first, {"--target", "{target}"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, world.Text(row.warning + says::Staged() + SaysMissing("2")));
    EXPECT_EQ(DescribeTree(world.Path("target")), world.TreeOf({.volumes = {row.first}, .of = 2}));
  }
}

TEST(SampleInstallerFails, RatherThanTrustAnOldVariableOfAnotherMedia) {
  SampleWorld world;
  TwoOfThree(world);
  world.Media({.volumes = 3, .tag = "OTHER", .directory = "other"});
  world.ExpectInstallation(
      "media/1",
      {3, kFoundTwo, Asks("3", "{media/3}"), says::Missing() + says::Staged() + SaysMissing("3")},
      kTwoOfThree, {.env = {{"KVLAdmInstVolumePath_3", "{other/3}"}}});
}

/// Two volumes side by side in {media}, of which the second one gets damaged again and again.
class DamagedWorld : public SampleWorld {
 public:
  DamagedWorld() {
    Media({.layout = "sibling"});
    fs::copy(Path("media/2"), Path("whole volume 2"), fs::copy_options::recursive);
  }

  /// Claims that volume 1 is installed and volume 2 is refused with these messages; then the volume
  /// is whole again.
  void ExpectRefusal(const std::string& messages) const {
    ExpectInstallation("media/1", {4, says::Volumes("2", {"{media/1}", "{media/2}"}), "", messages},
                       {.volumes = {"media/1"}, .of = 2});
    fs::remove_all(Path("target"));
    fs::remove_all(Path("media/2"));
    fs::copy(Path("whole volume 2"), Path("media/2"), fs::copy_options::recursive);
  }
};

TEST(SampleInstallerFails, WithStatus4WhenAVolumeIsDamagedOrHasNoChecksums) {
  const DamagedWorld world;
  const std::string tool = "media/2/payload/2/bin/sample-tool-2";
  const std::string table = "media/2/payload/2/share/sample suite/volume 2/table.dat";
  const std::string wrong_tool = "sample-installer: wrong or missing: {" + tool + "}\n";
  const std::string wrong_table = "sample-installer: wrong or missing: {" + table + "}\n";
  const std::string damaged = "sample-installer: volume 2 is damaged: {media/2}\n";

  world.Directory().Write(tool, "#!/bin/sh\n");
  world.ExpectRefusal(wrong_tool + damaged);

  std::string one_bit_changed = ReadFile(world.Path(table));
  one_bit_changed[one_bit_changed.size() / 2] ^= 1;
  world.Directory().Write(table, one_bit_changed);
  world.ExpectRefusal(wrong_table + damaged);

  fs::remove(world.Path(tool));
  fs::remove(world.Path(table));
  world.Directory().MakeDir(table);
  world.ExpectRefusal(wrong_tool + wrong_table + damaged);

  fs::remove(world.Path("media/2/payload/2.cksum"));
  world.ExpectRefusal(damaged);
  world.Directory().Write("media/2/payload/2.cksum", "");
  world.ExpectRefusal(damaged);
}

TEST(SampleInstallerFails, WithStatus4WhenAListOfChecksumsLeadsAstray) {
  const DamagedWorld world;
  for (const std::string line :
       {"1 2 ../x", "1 2 ./a/../../x", "1 2 ./..", "1 2 /x", "1 2 bin/sample-tool-2", "garbage"}) {
    SCOPED_TRACE(line);
    world.Directory().Write("media/2/payload/2.cksum", line + "\n");
    world.ExpectRefusal("sample-installer: not a line of a list of checksums: " + line + "\n");
  }
}

TEST(SampleInstallerFails, WithStatus4WhenAFileIsNotWhatWasCopied) {
  struct Row {
    std::string cp, said;
  };
  const std::vector<Row> rows = {
      {"for last; do :; done; echo cut >\"$last\"",
       "sample-installer: the copy is damaged: {target/bin/sample-tool-1}\n"},
      {"PATH=/usr/bin:/bin cp \"$@\"; case $3 in *.dat) echo >>\"$TARGET/bin/sample-tool-1\" ;; "
       "esac",
       "sample-installer: wrong or missing: {target/bin/sample-tool-1}\n"
       "sample-installer: the installation is damaged\n"},
  };
  SampleWorld world;
  world.Media();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.cp);
    fs::remove_all(world.Path("target"));
    SetMode(world.Directory().Write("bin/cp", "#!/bin/sh\n" + row.cp + "\n"), 0755);
    const Outcome outcome =
        world.Start("media", {"--target", "{target}"},
                    {.env = {{"PATH", "{bin}:/usr/bin:/bin"}, {"TARGET", "{target}"}}});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.err, world.Text(row.said));
    EXPECT_EQ(ReadFile(world.Path("target/.sample-suite/state")), "incomplete\n");
  }
}

std::string CannotWriteInto(const std::string& target) {
  return "sample-installer: cannot write into the target directory: " + target;
}

TEST(SampleInstallerFails, WithStatus5WhenTheTargetCannotBeADirectory) {
  SampleWorld world;
  world.Media();
  world.Directory().Write("file", "kept");
  world.Directory().Link("dangling", "nowhere/at/all");
  const auto before = DescribeTreeExactly(world.Path("."));
  for (const std::string target : {"{}/file", "{}/file/below", "{}/dangling"}) {
    const Outcome outcome = world.Start("media", {"--target", target});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(LastLineOf(outcome.err), world.Text(CannotWriteInto(target)));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(SampleInstallerFails, WithStatus5WithoutThePermissionToWrite) {
  SampleWorld world;
  world.Media();
  SetMode(world.Directory().MakeDir("target"), 0555);
  const Outcome outcome =
      world.Start("media", {"--target", "{target}"}, {.before = GiveUpSuperpowers});
  if (outcome.status == kStillSuper) GTEST_SKIP() << "the superuser keeps its powers here";
  EXPECT_EQ(outcome.status, 5);
  EXPECT_EQ(LastLineOf(outcome.err), world.Text(CannotWriteInto("{target}")));
  EXPECT_THAT(DescribeTree(world.Path("target")), IsEmpty());
}

TEST(SampleInstallerFails, WithStatus6WhenAnInstallationIsThereAlready) {
  SampleWorld world;
  world.Media();
  world.Start("media", {"--target", "{target}"});
  for (const std::string state : {"installed", "committed", "incomplete"}) {
    world.Directory().Write("target/.sample-suite/state", state + "\n");
    const auto before = DescribeTreeExactly(world.Path("."));
    ExpectOutcome(
        world, world.Start("media", {"--target", "{target}"}),
        {6, FindsInstallerIn("media") + SaysInstalled({.of = 1}),
         "sample-installer: an installation is there already (" + state + "): {target}\n"});
    EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
  }
}

TEST(SampleInstallerFails, WithStatus6WhenSomethingHasTheNameOfAFileOrDirectory) {
  enum class Kind { kFile, kDanglingLink, kDirectory };
  SampleWorld world;
  world.Media();
  for (const auto& [name, kind] : {std::pair("bin/sample-tool-1", Kind::kFile),
                                   {"bin/sample-tool-1", Kind::kDanglingLink},
                                   {"share/sample suite/volume 1/table.dat", Kind::kDirectory},
                                   {"bin", Kind::kFile},
                                   {"share/sample suite", Kind::kDanglingLink}}) {
    const std::string obstacle = std::string("target/") + name;
    SCOPED_TRACE(obstacle);
    fs::remove_all(world.Path("target"));
    if (kind == Kind::kFile) world.Directory().Write(obstacle, "kept");
    if (kind == Kind::kDanglingLink) world.Directory().Link(obstacle, "nowhere");
    if (kind == Kind::kDirectory) world.Directory().MakeDir(obstacle);
    const auto before = DescribeTree(world.Path("target"));
    const Outcome outcome = world.Start("media", {"--target", "{target}"});
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(
        LastLineOf(outcome.err),
        world.Text("sample-installer: the target has such a file already: {" + obstacle + "}"));
    EXPECT_EQ(ReadFile(world.Path("target/.sample-suite/state")), "incomplete\n");
    // Undoing what was installed leaves the obstacle alone.
    EXPECT_EQ(world.Start("media", {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
    EXPECT_EQ(DescribeTree(world.Path("target")), before);
  }
}

TEST(SampleInstallerFails, WithStatus2WhenTheArgumentsMakeNoSense) {
  const std::string needs_directory = " needs a directory (one that begins with - as ./-...)";
  const std::string action = "Radio_KVLSoftwareMgtCheck?";
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{}, "--target DIR is missing"},
      {{"--var", "a=b"}, "--target DIR is missing"},
      {{"--target"}, "--target" + needs_directory},
      {{"--target", ""}, "--target" + needs_directory},
      {{"--target", "--var", "a=b"}, "--target" + needs_directory},
      {{"--target", "{target}", "-CDpath"}, "-CDpath" + needs_directory},
      {{"--target", "{target}", "word"}, "unknown argument: word"},
      {{"--target", "{target}", "--Target"}, "unknown argument: --Target"},
      {{"--target", "{target}", "--uninst"}, "unknown argument: --uninst"},
      {{"--target", "{target}", "--var"}, "--var needs NAME=VALUE"},
      {{"--target", "{target}", "--mgt"}, "--mgt comes without an action"},
      {{"--target", "{target}", "--mgt", "{target}"}, "--mgt comes without an action"},
      {{"--target", "{target}", "--var", action + "Check=true"},
       "unknown action: " + action + "Check=true"},
      {{"--target", "{target}", "--var", action + "List=false"},
       "unknown action: " + action + "List=false"},
  };
  SampleWorld world;
  world.Media();
  const auto before = DescribeTreeExactly(world.Path("."));
  for (const auto& [arguments, line] : rows) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    ExpectOutcome(world, world.Start("media", arguments),
                  {2, FindsInstallerIn("media"), "sample-installer: " + line + "\n"});
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

TEST(SampleInstallerFails, WithStatus2WhenItIsStartedWithoutAMedia) {
  const SampleWorld world;
  const Outcome outcome =
      RunProgram({{SourceFile("examples/sample-installer"), "--target", world.Path("target")},
                  {{"PATH", "/usr/bin:/bin"}}});
  ExpectOutcome(world, outcome, {2, "", "sample-installer: -CDpath DIR is missing\n"});
  EXPECT_FALSE(fs::exists(world.Path("target")));
}

}  // namespace
}  // namespace kvl::test
