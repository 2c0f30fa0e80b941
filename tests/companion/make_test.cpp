// kvl-media make: what it writes, what it refuses, and that check finds nothing wrong with it.

#include "companion/make/media_plan.h"
#include "tests/companion/check_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

/// A payload of five files in "payload", and an installer that is a small program.
void MakePayload(CheckWorld& world) {
  VolumeBuilder payload = world.Volume("payload");
  for (const char* name : {"a/1", "a/2", "b c/3", "b c/d/4", "5"}) {
    payload.File(name, std::string(300'000, name[0]));
  }
  payload.Dir("empty");
  SetMode(world.Path("payload/a/1"), 0700);
  SetMode(world.Path("payload/a/2"), 0600);
  SetTimes(world.Path("payload/a/1"), 1'000'000'000, 1'100'000'000);
  SetMode(world.Directory().Write("setup", "#!/bin/sh\nexit 5\n"), 0600);
}

Outcome Make(const CheckWorld& world, const Lines& further, const Environment& env = {}) {
  Lines arguments = {"make",       "--tag",     "T 1",     "--installer", "setup",
                     "--launcher", "/bin/true", "payload", "media"};
  arguments.insert(arguments.end(), further.begin(), further.end());
  return world.Companion(arguments, env);
}

Lines NamesIn(const std::string& directory) {
  Lines names = DescribeTree(directory);
  for (std::string& line : names) line = line.substr(0, line.find(" = "));
  return names;
}

std::string Blocks(std::uint64_t count) {
  return std::to_string(2048 * count);
}

/// What the first volume holds besides payload, in blocks: six as every volume, the list of all files,
/// texts, the installer, the launcher.
std::uint64_t BlocksOfTheFirstVolume() {
  return 6 + 1 + 64 + 1 + (fs::file_size("/bin/true") + 2047) / 2048;
}

std::string TooSmallForTheFirst() {
  return "the volume size is too small for what the first volume holds besides payload (needs " +
         Blocks(BlocksOfTheFirstVolume()) + " bytes)";
}

struct LayoutRow {
  std::string name, first, second;  ///< directories of the volumes, in {media}

  /// What a check says, as in MediaWorld.
  std::string CheckSays() const {
    return "Media      {" + first + "}\nSystem     linux\nInstaller  {" + first +
           "}/inst/linux/code/bin/setup, in the media\nVolumes    2, layout " + name +
           ", tag T 1\n           1  found       {" + first + "}\n           2  found       {" +
           second + "}\nStart      in place\nFine: the installer will be started in place\n";
  }
};

const std::vector<LayoutRow> kLayouts = {
    {"flat", "media", "media"},
    {"sibling", "media/1", "media/2"},
    {"am", "media/1/media/1", "media/2/media/2"},
};

TEST(KvlMediaMake, MakesMediaThatCheckFindsNothingWrongWith) {
  for (const LayoutRow& row : kLayouts) {
    SCOPED_TRACE(row.name);
    CheckWorld world;
    MakePayload(world);
    const Outcome made = Make(world, {"--layout", row.name, "--volume-size", "1100K"});
    const std::string first = world.Path(row.first);
    EXPECT_EQ(made.out, "Made a media with tag T 1, layout " + row.name +
                            ", volumes: 2.\nFirst volume: '" + first + "'\nStart it with: '" +
                            first + "/StartTUI.sh'\n");
    EXPECT_EQ(made.err, "");
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(ReadFile(first + "/inst/volumes.txt"), "2\n");
    EXPECT_EQ(ReadFile(first + "/1.txt"), "Volume marker\nMTBDIR=T 1\n");
    EXPECT_EQ(ReadFile(world.Path(row.second + "/2.txt")), "Volume marker\nMTBDIR=T 1\n");

    const Outcome check = world.Companion({"check", row.first}, {{"TMPDIR", "{tmp}"}});
    EXPECT_EQ(check.out, world.Text(row.CheckSays()));
    EXPECT_EQ(check.err, "");
    EXPECT_EQ(check.status, 0);
  }
}

TEST(KvlMediaMake, PutsEveryFileOfThePayloadOnOneVolumeWithItsChecksum) {
  CheckWorld world;
  MakePayload(world);
  ASSERT_EQ(Make(world, {"--volume-size", "1100K"}).status, 0);
  EXPECT_THAT(NamesIn(world.Path("media/1/payload")),
              testing::ElementsAre("d 755 1", "d 755 1/a", "f 644 1.cksum", "f 644 1/5",
                                   "f 644 1/a/2", "f 755 1/a/1"));
  EXPECT_THAT(NamesIn(world.Path("media/2/payload")),
              testing::ElementsAre("d 755 2", "d 755 2/b c", "d 755 2/b c/d", "d 755 2/empty",
                                   "f 644 2.cksum", "f 644 2/b c/3", "f 644 2/b c/d/4"));
  EXPECT_EQ(fs::last_write_time(world.Path("media/1/payload/1/a/1")),
            fs::last_write_time(world.Path("payload/a/1")));
  std::string all;
  for (const std::string number : {"1", "2"}) {
    const Outcome sums = RunProgram(
        {{"/bin/sh", "-c", "find . -type f | LC_ALL=C sort | tr '\\n' '\\0' | xargs -0 cksum"},
         {{"PATH", "/usr/bin:/bin"}},
         world.Path("media/" + number + "/payload/" + number)});
    EXPECT_EQ(ReadFile(world.Path("media/" + number + "/payload/" + number + ".cksum")), sums.out);
    std::istringstream lines(sums.out);
    for (std::string line; std::getline(lines, line);) all += number + " " + line + "\n";
  }
  EXPECT_EQ(ReadFile(world.Path("media/1/media.db")), all);
}

TEST(KvlMediaMake, MakesMediaThatStart) {
  CheckWorld world;
  MakePayload(world);
  ASSERT_EQ(
      Make(world, {"--launcher", BuiltProgram("kvl-launcher"), "--volume-size", "100G"}).status, 0);
  const Outcome started = RunProgram({{world.Path("media/StartTUI.sh"), "argument"},
                                      {{"PATH", "/usr/bin:/bin"}},
                                      world.Path("tmp")});
  EXPECT_EQ(started.out, world.Text(" INFO: {media}/inst/linux/code/bin/setup\n"
                                    " INFO: Installer found in current media: "
                                    "\"{media}/inst/linux/code/bin/setup\".\n"));
  EXPECT_EQ(started.err, "");
  EXPECT_EQ(started.status, 5);
}

TEST(KvlMediaMake, GivesTheSameMediaWhateverTheUmask) {
  CheckWorld world;
  MakePayload(world);
  ASSERT_EQ(Make(world, {}).status, 0);
  const ScopedUmask umask(077);
  ASSERT_EQ(world
                .Companion({"make", "--tag", "T 1", "--installer", "setup", "--launcher",
                            "/bin/true", "payload", "other"})
                .status,
            0);
  EXPECT_EQ(DescribeTree(world.Path("other")), DescribeTree(world.Path("media")));
}

/// A payload sorted by volumes in "payload", and what the installer needs in "needs".
void MakePresortedPayload(CheckWorld& world) {
  world.Volume("payload").File("1/a/1", "one").File("1/2", "two").File("2/a/1", "other");
  world.Volume("payload").Dir("3");
  world.Volume("needs")
      .File("linux/code/bin/tool", "tool")
      .File("common/text", "text")
      .Dir("empty");
  SetMode(world.Path("needs/linux/code/bin/tool"), 0700);
  SetMode(world.Directory().Write("setup", "#!/bin/sh\nexit 5\n"), 0600);
}

TEST(KvlMediaMake, PutsAPresortedPayloadOntoItsVolumes) {
  CheckWorld world;
  MakePresortedPayload(world);
  const std::string first = world.Path("media/1");
  const Outcome made = Make(world, {"--presorted"});
  EXPECT_EQ(made.out, "Made a media with tag T 1, layout sibling, volumes: 3.\nFirst volume: '" +
                          first + "'\nStart it with: '" + first + "/StartTUI.sh'\n");
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(
      DescribeTree(world.Path("media/1/payload")),
      ElementsAre("d 755 1", "d 755 1/a", "f 644 1.cksum = 3413784483 3 ./2\n2648632822 3 ./a/1\n",
                  "f 644 1/2 = two", "f 644 1/a/1 = one"));
  EXPECT_THAT(NamesIn(world.Path("media/2")),
              ElementsAre("d 755 payload", "d 755 payload/2", "d 755 payload/2/a", "f 644 2.txt",
                          "f 644 payload/2.cksum", "f 644 payload/2/a/1"));
  EXPECT_THAT(NamesIn(world.Path("media/3")), ElementsAre("d 755 payload", "d 755 payload/3",
                                                          "f 644 3.txt", "f 644 payload/3.cksum"));
}

TEST(KvlMediaMake, PutsWhatTheInstallerNeedsIntoInst) {
  CheckWorld world;
  MakePresortedPayload(world);
  ASSERT_EQ(Make(world, {"--presorted", "--inst", "needs"}).status, 0);
  EXPECT_THAT(NamesIn(world.Path("media/1/inst")),
              ElementsAre("d 755 common", "d 755 empty", "d 755 linux", "d 755 linux/code",
                          "d 755 linux/code/bin", "f 644 common/text", "f 644 volumes.txt",
                          "f 755 linux/code/bin/kvl-launcher", "f 755 linux/code/bin/setup",
                          "f 755 linux/code/bin/tool"));
}

TEST(KvlMediaMake, RefusesWhatIsNoPresortedPayloadAndWhatDoesNotBelongIntoInst) {
  struct Row {
    std::function<void(CheckWorld&)> change;
    Lines further;
    std::string line;
  };
  const std::string kOthers =
      "a presorted payload holds directories 1, 2, ... and nothing else: payload/";
  const std::vector<Row> rows = {
      {[](CheckWorld& world) { world.Volume("payload").File("x", "").Dir("5"); },
       {},
       kOthers + "x"},
      {[](CheckWorld& world) { world.Volume("payload").File("x", "").File(".a", ""); },
       {},
       kOthers + ".a"},
      {[](CheckWorld& world) { world.Volume("payload").Dir("04"); }, {}, kOthers + "04"},
      {[](CheckWorld& world) { world.Volume("payload").Dir("0"); }, {}, kOthers + "0"},
      {[](CheckWorld& world) { world.Volume("payload").Dir("-4"); }, {}, kOthers + "-4"},
      {[](CheckWorld& world) { world.Volume("payload").Link("4", "3"); }, {}, kOthers + "4"},
      {[](CheckWorld& world) { world.Volume("payload").File("4", ""); }, {}, kOthers + "4"},
      {[](CheckWorld& world) { world.Volume("payload").Dir("5"); },
       {},
       "a presorted payload without a directory 4: payload"},
      {[](CheckWorld& world) { fs::remove_all(world.Path("payload/1")); },
       {},
       "a presorted payload without a directory 1: payload"},
      {[](CheckWorld& world) { world.Volume("payload").Dir("99999999999999999999999"); },
       {},
       "a presorted payload without a directory 4: payload"},
      {[](CheckWorld& world) {
         fs::remove_all(world.Path("payload"));
         world.Volume("payload");
       },
       {},
       "a presorted payload without a directory 1: payload"},
      {[](CheckWorld& world) {
         world.Volume("payload").File("2/large", std::string(1'200'000, 'x'));
       },
       {"--volume-size", "1M"},
       // Six blocks of the volume itself, "a", "a/1", "large", the list.
       "more than a volume holds: payload/2 (needs " + Blocks(6 + 1 + 1 + 586 + 1) + " bytes)"},
      {[](CheckWorld& world) {
         for (const char* name : {"x", "y", "z"}) {
           world.Volume("payload").File("1/" + std::string(name), std::string(300'000, 'x'));
         }
       },
       {"--volume-size", "400K"},
       // Beyond what the first one holds anyway: "2", "a", "a/1", three large files, the list.
       "more than a volume holds: payload/1 (needs " +
           Blocks(BlocksOfTheFirstVolume() + 1 + 1 + 1 + 3 * 147 + 1) + " bytes)"},
      {[](CheckWorld&) {}, {"--volume-size", "100K"}, TooSmallForTheFirst()},
      {[](CheckWorld&) {}, {"--inst", "missing"}, "not a directory: missing"},
      {[](CheckWorld& world) { world.Volume("needs").File("volumes.txt", "9"); },
       {"--inst", "needs"},
       "this is put into inst anyway: needs/volumes.txt"},
      {[](CheckWorld& world) { world.Volume("needs").File("linux/code/bin/setup", ""); },
       {"--inst", "needs"},
       "this is put into inst anyway: needs/linux/code/bin/setup"},
      {[](CheckWorld& world) { world.Volume("needs").File("linux/code/bin/kvl-launcher", ""); },
       {"--inst", "needs"},
       "this is put into inst anyway: needs/linux/code/bin/kvl-launcher"},
      {[](CheckWorld& world) {
         fs::remove_all(world.Path("needs/linux"));
         world.Volume("needs").File("linux", "");
       },
       {"--inst", "needs"},
       "this is put into inst anyway: needs/linux"},
      {[](CheckWorld& world) {
         fs::remove_all(world.Path("needs/common"));
         world.Volume("needs").File("common", "");
       },
       {"--inst", "needs"},
       "this is put into inst anyway: needs/common"},
      {[](CheckWorld&) {},
       {"--inst", "."},
       "the directory lies inside the directory for inst: {media}"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    CheckWorld world;
    MakePresortedPayload(world);
    row.change(world);
    const Lines before = DescribeTreeExactly(world.Path("."));
    Lines further = row.further;
    further.emplace_back("--presorted");
    const Outcome seen = Make(world, further);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, world.Text("kvl-media: " + row.line + "\n"));
    EXPECT_EQ(seen.status, 2);
    EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
  }
}

TEST(KvlMediaMake, RefusesWhatMakesNoSenseAndTouchesNothing) {
  struct Row {
    Lines further;
    std::string line;
  };
  const std::string kAllowed = " (letters, digits and ._+-, no \".\" or \"-\" in front)";
  const std::vector<Row> rows = {
      {{"--tag", ""}, "--tag must not be empty"},
      {{"--tag", std::string(257, 't')}, "--tag must not be longer than 256 bytes"},
      {{"--tag", std::string(100'000, '\x01')}, "--tag must not be longer than 256 bytes"},
      {{"--os", "a/b"}, "--os: no plain name: a/b" + kAllowed},
      {{"--os", "a b"}, "--os: no plain name: a b" + kAllowed},
      {{"--os", ".a"}, "--os: no plain name: .a" + kAllowed},
      {{"--os=-a"}, "--os: no plain name: -a" + kAllowed},
      {{"--os", ""}, "--os: no plain name: " + kAllowed},
      {{"--os", "volumes.txt"}, "--os: inst holds something else of this name: volumes.txt"},
      {{"--os", "common"}, "--os: inst holds something else of this name: common"},
      {{"--installer", "programs/set up"}, "--installer: no plain name: set up" + kAllowed},
      {{"--installer", "programs/kvl-launcher"},
       "--installer: the launcher has this name on the media: kvl-launcher"},
      {{"--installer", "missing"}, "the installer is not there: missing"},
      {{"--launcher", "payload"}, "the launcher is not there: payload"},
      {{"--layout", "flat"}, "layout flat needs two volumes or more, and all fits on one"},
      {{"--layout", "single", "--volume-size", "1100K"},
       "layout single has one volume, and 2 are needed"},
      {{"--volume-size", "100K"}, TooSmallForTheFirst()},
      {{"--volume-size", std::to_string(2048 * BlocksOfTheFirstVolume() - 1)},
       TooSmallForTheFirst()},
      // Six blocks of the volume itself, the file, the list.
      {{"--volume-size", std::to_string(2048 * BlocksOfTheFirstVolume())},
       "larger than a volume: 5 (needs " + Blocks(6 + 147 + 1) + " bytes)"},
      {{"--volume-size", std::to_string(2048 * (6 + 147 + 1) - 1)},
       "larger than a volume: 5 (needs " + Blocks(6 + 147 + 1) + " bytes)"},
      {{"--volume-size", Blocks(6 + 147 + 1)},
       "larger than a volume: a/1 (needs " + Blocks(6 + 1 + 147 + 1) + " bytes)"},
      {{"--volume-size", Blocks(6 + 1 + 147 + 1)},
       "larger than a volume: b c/d/4 (needs " + Blocks(6 + 2 + 147 + 1) + " bytes)"},
      {{"--volume-size", "-1"}, "--volume-size: no size: -1 (a whole number, with K, M or G)"},
      {{"--volume-size=-5"}, "--volume-size: no size: -5 (a whole number, with K, M or G)"},
      {{"--volume-size", "-4M"}, "--volume-size: no size: -4M (a whole number, with K, M or G)"},
      {{"--volume-size", "4X"}, "--volume-size: no size: 4X (a whole number, with K, M or G)"},
      {{"--volume-size", "4.7G"}, "--volume-size: no size: 4.7G (a whole number, with K, M or G)"},
      {{"--volume-size", ""}, "--volume-size: no size:  (a whole number, with K, M or G)"},
      {{"third"}, "The following argument was not expected: third (see --help)"},
  };
  CheckWorld world;
  MakePayload(world);
  world.Volume("programs").File("set up", "").File("kvl-launcher", "");
  const Lines before = DescribeTreeExactly(world.Path("."));
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const Outcome seen = Make(world, row.further);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "kvl-media: " + row.line + "\n");
    EXPECT_EQ(seen.status, 2);
    EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
  }
}

/// The smallest sizes that do, by the refusals of those that are smaller by one byte.
TEST(KvlMediaMake, NamesTheSizeThatIsEnough) {
  struct Row {
    std::function<void(CheckWorld&)> make_payload;
    Lines further;
    std::uint64_t bytes;
    std::string line;
  };
  const std::vector<Row> rows = {
      {MakePayload, {}, 2048 * (6 + 2 + 147 + 1), "larger than a volume: b c/d/4"},
      {[](CheckWorld& world) {
         MakePresortedPayload(world);
         world.Volume("payload").File("2/x", std::string(600'000, 'x')).File("2/y/z", "");
       },
       {"--presorted"},
       2048 * (6 + 1 + 1 + 293 + 1 + 1),
       "more than a volume holds: payload/2"},
  };
  for (const Row& row : rows) {
    CheckWorld world;
    row.make_payload(world);
    const auto make = [&](std::uint64_t size) {
      Lines further = row.further;
      further.insert(further.end(), {"--volume-size", std::to_string(size)});
      return Make(world, further);
    };
    const Outcome refused = make(row.bytes - 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "kvl-media: " + row.line + " (needs " + std::to_string(row.bytes) + " bytes)\n");
    EXPECT_EQ(refused.status, 2);
    EXPECT_FALSE(fs::exists(world.Path("media")));
    const Outcome made = make(row.bytes);
    EXPECT_EQ(made.err, "");
    EXPECT_EQ(made.status, 0);
  }
}

TEST(KvlMediaMake, RefusesToWriteWhereSomethingIs) {
  const std::vector<std::function<void(CheckWorld&)>> fillings = {
      [](CheckWorld& world) { world.Volume("media").File(".hidden", ""); },
      [](CheckWorld& world) { world.Volume("media").Dir("directory"); },
      [](CheckWorld& world) { world.Volume("media").Link("link", "nowhere"); },
  };
  for (const auto& fill : fillings) {
    CheckWorld world;
    MakePayload(world);
    fill(world);
    const Lines before = DescribeTreeExactly(world.Path("."));
    const Outcome seen = Make(world, {});
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, world.Text("kvl-media: the directory is not empty: {media}\n"));
    EXPECT_EQ(seen.status, 2);
    EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
  }
}

TEST(KvlMediaMake, RefusesAPayloadThatCannotBeSplitSafely) {
  struct Row {
    std::function<void(CheckWorld&)> make;
    std::string line;
  };
  const std::vector<Row> rows = {
      {[](CheckWorld& world) { world.Volume("payload").Link("x", "5"); },
       "a link could be torn from what it leads to: payload/x"},
      {[](CheckWorld& world) { world.Directory().Pipe("payload/x"); },
       "neither a file nor a directory: payload/x"},
      {[](CheckWorld& world) { world.Volume("payload").File("x\ny", ""); },
       "a name with a line break cannot be listed: payload/x\\x0Ay"},
      {[](CheckWorld& world) { world.Volume("payload").File(std::string(254, 'x'), ""); },
       "a name is too long for a disc: payload/" + std::string(254, 'x')},
      {[](CheckWorld& world) {
         fs::rename(world.Path("payload"), world.Path("moved"));
         world.Volume(".").File("payload", "");
       },
       "not a directory: payload"},
  };
  for (const Row& row : rows) {
    CheckWorld world;
    MakePayload(world);
    row.make(world);
    const Outcome seen = Make(world, {});
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "kvl-media: " + row.line + "\n");
    EXPECT_EQ(seen.status, 2);
    EXPECT_FALSE(fs::exists(world.Path("media")));
  }
}

TEST(SplitPayload, NeverPutsMoreOnAVolumeThanItHolds) {
  std::vector<PayloadEntry> payload;
  for (int i = 0; i < 500; ++i) {
    const std::string directory = "d" + std::to_string(i / 50);
    if (i % 50 == 0) payload.push_back({directory, true, 0});
    payload.push_back(
        {directory + "/" + std::to_string(i), false, std::uint64_t(i) * 997 % 40'000});
  }
  constexpr std::uint64_t kMost = 1'000'000;
  const auto volumes = SplitPayload(payload, kMost, 500'000);
  EXPECT_GT(volumes.size(), 5U);
  std::size_t files = 0;
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    std::uint64_t bytes = i == 0 ? 500'000 : 0;
    for (const PayloadEntry& entry : volumes[i]) {
      bytes += entry.is_directory ? kDiscBlock : OnDisc(entry.size);
      if (!entry.is_directory) ++files;
    }
    EXPECT_LE(bytes, kMost);
  }
  EXPECT_EQ(files, 500U);
}

TEST(SplitPayload, RefusesAFileThatIsLargerThanAVolumeAndTooManyVolumes) {
  EXPECT_THROW(SplitPayload({{"x", false, 2'000'000}}, 1'000'000, 0), CannotMake);
  std::vector<PayloadEntry> payload;
  for (int i = 0; i < 1001; ++i) payload.push_back({std::to_string(i), false, 500'000});
  EXPECT_THROW(SplitPayload(payload, 700'000, 0), CannotMake);
}

}  // namespace
}  // namespace kvl::test
