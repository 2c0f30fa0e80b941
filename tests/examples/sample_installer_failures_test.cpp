// The sample installer when something is wrong: what it says, its status, and what it leaves.

#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

/// Three volumes side by side in {media}, the third one missing.
void TwoOfThree(const SampleWorld& world) {
  world.Media({.volumes = 3});
  fs::remove_all(world.Path("media/3"));
}

const Installation kTwoOfThree = {
    .volumes = {"media/1", "media/2"}, .media = "SAMPLE-1, 3 volume(s)", .state = "incomplete"};

/// The messages of such a media up to its second volume.
std::string InstallsTwoOfThree() {
  return FindsInstallerIn("media/1") +
         " INFO: This media is composed of 3 volumes.\n"
         "       Volume 1 found in: {media/1}\n"
         "       Volume 2 found in: {media/2}\n"
         "Sample Suite: installing 3 volume(s) of SAMPLE-1 into: {target}\n"
         "Volume 1: installed 3 files from: {media/1}\n"
         "Volume 2: installed 3 files from: {media/2}\n";
}

std::string SaysMissing(const std::string& volume) {
  return "sample-installer: volume " + volume + " is missing; the installation is incomplete\n";
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeDoesNotCome) {
  const std::string question =
      "Volume 3 of SAMPLE-1 is expected in: {media/3} (Enter when it is there)\n";
  SampleWorld world;
  TwoOfThree(world);
  for (const std::string input : {"", "\n\n", "no line feed"}) {
    SCOPED_TRACE(input);
    fs::remove_all(world.Path("target"));
    const Outcome outcome = world.Start("media/1", {"--target", "{target}"}, {.input = input});
    const std::string questions = input == "\n\n" ? question + question + question : question;
    ExpectOutcome(
        world, outcome,
        {3, InstallsTwoOfThree() + questions, says::Missing() + says::Staged() + SaysMissing("3")});
    EXPECT_EQ(DescribeTree(world.Path("target")), world.TreeOf(kTwoOfThree));
  }
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeOfAnOuterSetDoesNotCome) {
  SampleWorld world;
  world.Media({.layout = "am"});
  fs::remove_all(world.Path("media/2"));
  const Outcome outcome = world.Start("media/1/media/1", {"--target", "{target}"});
  ExpectOutcome(
      world, outcome,
      {3,
       FindsInstallerIn("media/1/media/1") +
           " INFO: This media is composed of 2 volumes.\n"
           "       Volume 1 found in: {media/1/media/1}\n"
           "       AM volume 1 found in: {media/1}\n"
           "Sample Suite: installing 2 volume(s) of SAMPLE-1 into: {target}\n"
           "Volume 1: installed 3 files from: {media/1/media/1}\n"
           "Volume 2 of SAMPLE-1 is expected in: {media/2/media/2} (Enter when it is there)\n",
       says::Staged() + SaysMissing("2")});
}

TEST(SampleInstallerFails, WithStatus3WhenNothingButAnOuterMarkerIsAboveAndTheVolumeDoesNotCome) {
  SampleWorld world;
  world.Media({.layout = "sibling", .directory = "outer/4"});
  fs::remove_all(world.Path("outer/4/2"));
  world.Volume("outer/4").Marker(4, "OUTER");
  const Outcome outcome = world.Start("outer/4/1", {"--target", "{target}"});
  ExpectOutcome(world, outcome,
                {3,
                 FindsInstallerIn("outer/4/1") +
                     " INFO: This media is composed of 2 volumes.\n"
                     "       Volume 1 found in: {outer/4/1}\n"
                     "       AM volume 4 found in: {outer/4}\n"
                     "Sample Suite: installing 2 volume(s) of SAMPLE-1 into: {target}\n"
                     "Volume 1: installed 3 files from: {outer/4/1}\n"
                     "Volume 2 of SAMPLE-1 is expected in: {outer/5/2} (Enter when it is there)\n",
                 says::Staged() + SaysMissing("2")});
}

TEST(SampleInstallerFails, WithStatus3WhenAVolumeBelongsToAnotherMedia) {
  struct Row {
    std::string layout, first, marker, warning;
  };
  const std::vector<Row> rows = {
      {"flat", "media", "media/2.txt", "Volume 2 of OTHER found in the directory of SAMPLE-1"},
      {"sibling", "media/1", "media/2/2.txt",
       "Volume 2 of OTHER found in {media/2} instead of SAMPLE-1"},
      {"am", "media/1/media/1", "media/2/media/2/2.txt",
       "Volume 2 of OTHER found in {media/2/media/2} instead of SAMPLE-1"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    SampleWorld world;
    world.Media({.layout = row.layout});
    world.Directory().Write(row.marker, "MTBDIR=OTHER\n");
    const Outcome outcome = world.Start(row.first, {"--target", "{target}"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              world.Text(" WARN: " + row.warning + "\n" + says::Staged() + SaysMissing("2")));
    EXPECT_EQ(DescribeTree(world.Path("target")),
              world.TreeOf({.volumes = {row.first}, .state = "incomplete"}));
  }
}

TEST(SampleInstallerFails, RatherThanInstallAVolumeOfAnotherMediaNamedByAnOldVariable) {
  SampleWorld world;
  TwoOfThree(world);
  world.Media({.volumes = 3, .tag = "OTHER", .directory = "other"});
  const Outcome outcome = world.Start("media/1", {"--target", "{target}"},
                                      {.env = {{"KVLAdmInstVolumePath_3", "{other/3}"}}});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(LastLineOf(outcome.err) + "\n", SaysMissing("3"));
  EXPECT_EQ(DescribeTree(world.Path("target")), world.TreeOf(kTwoOfThree));
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
    ExpectOutcome(*this, Start("media/1", {"--target", "{target}"}),
                  {4,
                   FindsInstallerIn("media/1") +
                       " INFO: This media is composed of 2 volumes.\n"
                       "       Volume 1 found in: {media/1}\n"
                       "       Volume 2 found in: {media/2}\n"
                       "Sample Suite: installing 2 volume(s) of SAMPLE-1 into: {target}\n"
                       "Volume 1: installed 3 files from: {media/1}\n",
                   messages});
    EXPECT_EQ(DescribeTree(Path("target")),
              TreeOf({.volumes = {"media/1"}, .state = "incomplete"}));
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

TEST(SampleInstallerFails, WithStatus5WhenTheTargetCannotBeADirectory) {
  SampleWorld world;
  world.Media();
  world.Directory().Write("file", "kept");
  world.Directory().Link("dangling", "nowhere/at/all");
  const auto before = DescribeTreeExactly(world.Path("."));
  for (const char* target : {"file", "file/below", "dangling"}) {
    const Outcome outcome = world.Start("media", {"--target", std::string("{}/") + target});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(LastLineOf(outcome.err),
              world.Text("sample-installer: cannot write into the target directory: {}/") + target);
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
  EXPECT_EQ(LastLineOf(outcome.err),
            world.Text("sample-installer: cannot write into the target directory: {target}"));
  EXPECT_THAT(DescribeTree(world.Path("target")), IsEmpty());
}

TEST(SampleInstallerFails, WithStatus6WhenAnInstallationIsThereAlready) {
  SampleWorld world;
  world.Media();
  world.Start("media", {"--target", "{target}"});
  for (const std::string state : {"installed", "committed", "incomplete"}) {
    world.Directory().Write("target/.sample-suite/state", state + "\n");
    const auto before = DescribeTreeExactly(world.Path("."));
    const Outcome outcome = world.Start("media", {"--target", "{target}"});
    ExpectOutcome(
        world, outcome,
        {6,
         FindsInstallerIn("media") +
             "Sample Suite: installing 1 volume(s) of SAMPLE-1 into: {target}\n",
         "sample-installer: an installation is there already (" + state + "): {target}\n"});
    EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
  }
}

/// What is in the way of an installation, and where.
struct Obstacle {
  std::string name;
  std::function<void(const SampleWorld&, const std::string&)> put;
};

/// The obstacle stops the installation, and undoing what was installed leaves the obstacle alone.
void ExpectInTheWay(const SampleWorld& world, const Obstacle& obstacle) {
  SCOPED_TRACE(obstacle.name);
  fs::remove_all(world.Path("target"));
  obstacle.put(world, "target/" + obstacle.name);
  const auto before = DescribeTree(world.Path("target"));
  const Outcome outcome = world.Start("media", {"--target", "{target}"});
  EXPECT_EQ(outcome.status, 6);
  EXPECT_EQ(LastLineOf(outcome.err),
            world.Text("sample-installer: the target has such a file already: {target/" +
                       obstacle.name + "}"));
  EXPECT_EQ(ReadFile(world.Path("target/.sample-suite/state")), "incomplete\n");
  EXPECT_EQ(world.Start("media", {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
  EXPECT_EQ(DescribeTree(world.Path("target")), before);
}

const auto kPutFile = [](const SampleWorld& world, const std::string& name) {
  world.Directory().Write(name, "kept");
};
const auto kPutDanglingLink = [](const SampleWorld& world, const std::string& name) {
  world.Directory().Link(name, "nowhere");
};
const auto kPutDirectory = [](const SampleWorld& world, const std::string& name) {
  world.Directory().MakeDir(name);
};

TEST(SampleInstallerFails, WithStatus6WhenSomethingHasTheNameOfAPayloadFile) {
  SampleWorld world;
  world.Media();
  ExpectInTheWay(world, {"bin/sample-tool-1", kPutFile});
  ExpectInTheWay(world, {"bin/sample-tool-1", kPutDanglingLink});
  ExpectInTheWay(world, {"share/sample suite/volume 1/table.dat", kPutDirectory});
}

TEST(SampleInstallerFails, WithStatus6WhenAFileHasTheNameOfAPayloadDirectory) {
  SampleWorld world;
  world.Media();
  ExpectInTheWay(world, {"bin", kPutFile});
  ExpectInTheWay(world, {"share/sample suite", kPutDanglingLink});
}

TEST(SampleInstallerFails, WithStatus2WhenTheArgumentsMakeNoSense) {
  const std::string needs_directory = " needs a directory (one that begins with - as ./-...)";
  const std::string action = "Radio_KVLSoftwareMgtCheck?";
  const std::vector<std::pair<Lines, std::string>> rows = {
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
