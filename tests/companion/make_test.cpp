// kvl-media make: what it writes, what it refuses, and that check calls its media fine.

#include "companion/make/media_plan.h"
#include "companion/make/volume_size.h"
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kClosedInstaller[] = "file setup #!/bin/sh\\n; mode 600 setup; ";

/// Returns steps that make a payload of five files, and a small script as installer.
std::string Payload() {
  std::string steps = kClosedInstaller;
  for (const std::string name : {"a/1", "a/2", "b\\x20c/3", "b\\x20c/d/4", "5"}) {
    steps += "file payload/" + name + " " + std::string(300'000, name[0]) + "; ";
  }
  return steps + "dir payload/empty; mode 700 payload/a/1; mode 600 payload/a/2; ";
}

/// Steps that make a presorted payload, and what the installer needs in "needs".
const std::string kPresorted =
    std::string(kClosedInstaller) +
    "file payload/1/a/1 one; file payload/1/2 two; file payload/2/a/1 other; dir payload/3; "
    "file needs/linux/code/bin/tool tool; mode 700 needs/linux/code/bin/tool; "
    "file needs/common/text text; dir needs/empty; ";

/// A change of a payload, the line that refuses it, and further arguments.
struct Refusal {
  std::string change, line;
  Lines further = {};
};

void ExpectRefusals(const std::string& payload, const std::vector<Refusal>& rows) {
  for (const Refusal& row : rows) {
    SCOPED_TRACE(row.line);
    CheckWorld(payload + row.change).ExpectRefusedAndUntouched(row.further, row.line);
  }
}

Lines NamesIn(const std::string& directory) {
  Lines names = DescribeTree(directory);
  for (std::string& line : names) line = line.substr(0, line.find(" = "));
  return names;
}

std::string Blocks(std::uint64_t count) {
  return std::to_string(2048 * count);
}

/// Blocks of the image of any volume besides its payload and its list: 32 before the files, with
/// room for some directories, two more, at most four directories and two markers, and the manifest.
constexpr std::uint64_t kFrame = 32 + 2 + 4 + 2 + 1;

/// Returns the blocks of the first volume besides its payload: its list, the list of all files,
/// texts, five directories below "inst" and tables for them, the installer, and the launcher.
std::uint64_t BlocksOfTheFirstVolume() {
  return kFrame + 1 + 1 + 13 + 5 + 2 + 1 + 1;
}

std::string TooSmallForTheFirst() {
  return "--volume-size is too small for what the first volume holds besides payload: it needs " +
         Blocks(BlocksOfTheFirstVolume()) + " bytes; give a larger --volume-size";
}

/// Returns the refusal of a part of the payload that needs so many bytes.
std::string TooLarge(const std::string& path, const std::string& bytes, const std::string& remedy) {
  return "too large for one volume: " + path + " (needs " + bytes +
         " bytes); give a larger --volume-size, or " + remedy;
}

constexpr char kGiveASize[] =
    "; give a whole number, also with K, M, G, KB, MB or GB, or one of cd, dvd and dvd-dl";

TEST(KvlMediaMake, MakesMediaThatCheckCallsFine) {
  struct Row {
    std::string layout, first, second;  ///< directories of the volumes
  };
  for (const Row& row : {Row{"flat", "media", "media"}, Row{"sibling", "media/1", "media/2"},
                         Row{"am", "media/1/media/1", "media/2/media/2"}}) {
    SCOPED_TRACE(row.layout);
    const CheckWorld world(Payload());
    world.ExpectMade(world.MakeMedia({"--layout", row.layout, "--volume-size", "1100K"}),
                     "'{" + row.first + "}", row.layout, 2);
    EXPECT_EQ(ReadFile(world.Path(row.first + "/inst/volumes.txt")), "2\n");
    EXPECT_EQ(ReadFile(world.Path(row.first + "/1.txt")), "Volume marker\nMTBDIR=T 1\n");
    EXPECT_EQ(ReadFile(world.Path(row.second + "/2.txt")), "Volume marker\nMTBDIR=T 1\n");
    if (row.layout == "am") {
      EXPECT_EQ(ReadFile(world.Path("media/1/1.txt")), "Volume marker\nMTBDIR=T 1-AM\n");
      EXPECT_EQ(ReadFile(world.Path("media/2/2.txt")), "Volume marker\nMTBDIR=T 1-AM\n");
    }

    const std::string first = "{" + row.first + "}", second = "{" + row.second + "}";
    world.ExpectReport(world.Companion({"check", row.first}, {{"TMPDIR", "{tmp}"}}),
                       "Media      " + first + "\nSystem     linux, from StartTUI.sh\nInstaller  " +
                           first +
                           "/inst/linux/code/bin/setup, in the media; name from "
                           "StartTUI.sh\nVolumes    2, layout " +
                           row.layout + ", tag T 1\n           1  found       " + first +
                           "\n           2  found       " + second +
                           "\nStart      in place\n"
                           "Fine: the installer will be started in place\n");
  }
}

TEST(KvlMediaMake, TakesTheLauncherBesideItselfByDefault) {
  const CheckWorld world(Payload());
  const Outcome seen =
      world.Companion({"make", "--tag", "T", "--installer", "setup", "payload", "media"});
  EXPECT_EQ(seen.status, 0) << seen.err;
  const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
  EXPECT_TRUE(ReadFile(world.Path("media/inst/linux/code/bin/kvl-launcher")) ==
              ReadFile(programs / "kvl-launcher"));
}

TEST(KvlMediaMake, PutsEveryFileOfThePayloadOnOneVolume) {
  const CheckWorld world(Payload());
  SetTimes(world.Path("payload/a/1"), 1'000'000'000, 1'100'000'000);
  SetMode(world.Path("payload/5"), 0601);
  SetMode(world.Path("payload/b c/3"), 0610);
  ASSERT_EQ(world.MakeMedia({"--volume-size", "1100K"}).status, 0);
  EXPECT_THAT(NamesIn(world.Path("media/1/payload")),
              ElementsAre("d 755 1", "d 755 1/a", "f 644 1/a/2", "f 755 1/5", "f 755 1/a/1"));
  EXPECT_THAT(NamesIn(world.Path("media/2/payload")),
              ElementsAre("d 755 2", "d 755 2/b c", "d 755 2/b c/d", "d 755 2/empty",
                          "f 644 2/b c/d/4", "f 755 2/b c/3"));
  EXPECT_EQ(fs::last_write_time(world.Path("media/1/payload/1/a/1")),
            fs::last_write_time(world.Path("payload/a/1")));
}

/// Each file takes 147 blocks, so each volume has room for three files.
TEST(KvlMediaMake, KeepsADirectoryTogether) {
  const CheckWorld world(Payload() + "file payload/c/e/1 " + std::string(300'000, 'x') +
                         "; file payload/c/e/2 " + std::string(300'000, 'x'));
  const auto payload_with = [&](const Lines& further) {
    Lines all = {"--volume-size", "1100K"};
    all.insert(all.end(), further.begin(), further.end());
    const Outcome seen = world.MakeMedia(all);
    EXPECT_EQ(seen.status, 0) << seen.err;
    Lines files;
    for (int i = 1; i <= 3; ++i) {
      for (const std::string& name :
           NamesIn(world.Path("media/" + std::to_string(i) + "/payload"))) {
        if (name.starts_with("f ")) files.push_back(name.substr(6));
      }
    }
    fs::remove_all(world.Path("media"));
    return files;
  };
  EXPECT_THAT(payload_with({}),
              ElementsAre("1/5", "1/a/2", "1/a/1", "2/b c/3", "2/b c/d/4", "2/c/e/1", "3/c/e/2"));
  EXPECT_THAT(payload_with({"--keep-together", "c"}),
              ElementsAre("1/5", "1/a/2", "1/a/1", "2/b c/3", "2/b c/d/4", "3/c/e/1", "3/c/e/2"));
  EXPECT_EQ(payload_with({"--keep-together", "c/e"}), payload_with({"--keep-together", "c"}));
  EXPECT_EQ(payload_with({"--keep-together", "c/e", "--keep-together", "c"}),
            payload_with({"--keep-together", "c"}));
  EXPECT_EQ(payload_with({"--keep-together", "./c//", "--keep-together=a"}),
            payload_with({"--keep-together", "c"}));
}

TEST(KvlMediaMake, RefusesAnInvalidKeepTogether) {
  const CheckWorld world(Payload());
  for (const auto& [directory, shown] : {std::pair("5", "5"),
                                         {"a/1", "a/1"},
                                         {"b", "b"},
                                         {"../payload/a", "../payload/a"},
                                         {".", "."},
                                         {"", ""},
                                         {"a/..", "."}}) {
    world.ExpectRefusedAndUntouched({"--keep-together", directory},
                                    std::string("--keep-together is not a directory of PAYLOAD: ") +
                                        shown + "; give its path in PAYLOAD");
  }
  world.ExpectRefusedAndUntouched(
      {"--keep-together", "a", "--presorted"},
      "--keep-together and --presorted exclude each other; leave one of them out");
  world.ExpectRefusedAndUntouched(
      {"--keep-together", "b c", "--volume-size", Blocks(kFrame + 2 * 147)},
      TooLarge("b c", Blocks(kFrame + 2 * 147 + 1), "leave its --keep-together out"));
}

TEST(KvlMediaMake, MakesTheSameMediaWithAnyUmask) {
  const CheckWorld world(Payload());
  ASSERT_EQ(world.MakeMedia().status, 0);
  for (const mode_t mask : {0000U, 0077U, 0700U, 0777U}) {
    SCOPED_TRACE(mask);
    world.ExpectMade(world.MakeMedia({}, "new/other",
                                     [mask] {
                                       ::umask(mask);
                                       GiveUpPermissions();
                                     }),
                     "'{new/other}");
    EXPECT_EQ(ModeOf(world.Path("new")), 0755U);
    EXPECT_EQ(DescribeTree(world.Path("new/other")), DescribeTree(world.Path("media")));
    fs::remove_all(world.Path("new"));
  }
}

TEST(KvlMediaMake, PutsAPresortedPayloadOntoItsVolumes) {
  const CheckWorld world(kPresorted);
  world.ExpectMade(world.MakeMedia({"--presorted"}), "'{media/1}", "sibling", 3);
  EXPECT_THAT(DescribeTree(world.Path("media/1/payload")),
              ElementsAre("d 755 1", "d 755 1/a", "f 644 1/2 = two", "f 644 1/a/1 = one"));
  EXPECT_THAT(NamesIn(world.Path("media/2")),
              ElementsAre("d 755 payload", "d 755 payload/2", "d 755 payload/2/a", "f 644 2.sha256",
                          "f 644 2.txt", "f 644 media.manifest", "f 644 payload/2/a/1"));
  EXPECT_THAT(NamesIn(world.Path("media/3")),
              ElementsAre("d 755 payload", "d 755 payload/3", "f 644 3.sha256", "f 644 3.txt",
                          "f 644 media.manifest"));
}

TEST(KvlMediaMake, RefusesMoreThan999PresortedVolumes) {
  const CheckWorld world(kPresorted);
  for (int i = 4; i <= 1000; ++i) fs::create_directory(world.Path("payload/" + std::to_string(i)));
  world.ExpectRefused(
      world.MakeMedia({"--presorted"}),
      "the payload needs more than 999 volumes; join some of the directories in PAYLOAD");
}

TEST(KvlMediaMake, PutsWhatTheInstallerNeedsIntoInst) {
  const CheckWorld world(kPresorted);
  ASSERT_EQ(world.MakeMedia({"--presorted", "--inst", "needs"}).status, 0);
  EXPECT_THAT(NamesIn(world.Path("media/1/inst")),
              ElementsAre("d 755 common", "d 755 empty", "d 755 linux", "d 755 linux/code",
                          "d 755 linux/code/bin", "f 644 common/text", "f 644 volumes.txt",
                          "f 755 linux/code/bin/kvl-launcher", "f 755 linux/code/bin/setup",
                          "f 755 linux/code/bin/tool"));
}

TEST(KvlMediaMake, RefusesAnUnsortedPayloadAndAnInvalidInst) {
  const std::string large(300'000, 'x');
  const auto other = [](const std::string& name) {
    return "PAYLOAD holds something other than directories 1, 2, ...: payload/" + name +
           "; move it into one of them, or leave --presorted out";
  };
  const auto without = [](const std::string& number) {
    return "PAYLOAD has no directory " + number + ": payload; make it, or leave --presorted out";
  };
  const auto twice = [](const std::string& name) {
    return "--inst holds something that make itself puts into inst: needs/" + name +
           "; remove it from --inst";
  };
  const Lines inst = {"--inst", "needs"};
  std::vector<Refusal> rows = {
      {"file payload/x; dir payload/5", other("x")},
      {"file payload/x; file payload/.a", other(".a")},
      {"dir payload/04", other("04")},
      {"dir payload/0", other("0")},
      {"dir payload/-4", other("-4")},
      {"link payload/4 3", other("4")},
      {"file payload/4", other("4")},
      {"dir payload/5", without("4")},
      {"remove payload/1", without("1")},
      {"dir payload/99999999999999999999999", without("4")},
      {"dir payload", without("1")},
      // Besides what the first volume holds anyway: "2", "a/1" and three large files.
      {"file payload/1/x " + large + "; file payload/1/y " + large + "; file payload/1/z " + large,
       TooLarge("payload/1", Blocks(BlocksOfTheFirstVolume() + 1 + 1 + 3 * 147),
                "move files to another directory"),
       {"--volume-size", "400K"}},
      {"", TooSmallForTheFirst(), {"--volume-size", "100K"}},
      {"", "--inst is not a directory: missing; name a directory", {"--inst", "missing"}},
      {"file needs/volumes.txt 9", twice("volumes.txt"), inst},
      {"file needs/linux/code/bin/setup", twice("linux/code/bin/setup"), inst},
      {"file needs/linux/code/bin/kvl-launcher", twice("linux/code/bin/kvl-launcher"), inst},
      {"remove needs/linux; file needs/linux", twice("linux"), inst},
      {"remove needs/common; file needs/common", twice("common"), inst},
      {"", "DIR lies inside --inst: {media}; name a directory outside of it", {"--inst", "."}},
  };
  for (Refusal& row : rows) row.further.emplace_back("--presorted");
  ExpectRefusals(kPresorted, rows);
}

TEST(KvlMediaMake, RefusesInvalidCallsAndTouchesNothing) {
  const std::string length = "; give a text of 1 to 256 bytes";
  const std::string bad_name = "--system is not a valid name: ";
  const std::string taken = "--system is a name that inst has for something else: ";
  const std::string allowed = "; use letters, digits and ._+- only, and begin with neither . nor -";
  const std::string bad_size = "--volume-size is not a size: ";
  const std::string file = TooLarge("5", Blocks(kFrame + 147 + 1), "split the file");
  const std::vector<std::pair<Lines, std::string>> rows = {
      {{"--tag", ""}, "--tag is empty" + length},
      {{"--tag", std::string(257, 't')}, "--tag is too long: 257 bytes" + length},
      {{"--tag", std::string(100'000, '\x01')}, "--tag is too long: 100000 bytes" + length},
      {{"--system", "a/b"}, bad_name + "a/b" + allowed},
      {{"--os", "a b"}, bad_name + "a b" + allowed},
      {{"--os", ".a"}, bad_name + ".a" + allowed},
      {{"--os=-a"}, bad_name + "-a" + allowed},
      {{"--os", ""}, bad_name + allowed},
      {{"--os", "volumes.txt"}, taken + "volumes.txt; choose another name"},
      {{"--os", std::string(254, 'o')},
       "--system is too long for a disc: " + std::string(254, 'o') + "; shorten it to 253 bytes"},
      {{"--os", "common"}, taken + "common; choose another name"},
      {{"--installer", "programs/set up"},
       "the file name of the installer is not a valid name: set up" + allowed},
      {{"--installer", "programs/" + std::string(254, 'i')},
       "the file name of the installer is too long for a disc: " + std::string(254, 'i') +
           "; shorten it to 253 bytes"},
      {{"--installer", "programs/kvl-launcher"},
       "the file name of the installer is that of the launcher on the media: kvl-launcher; rename "
       "the installer"},
      {{"--installer", "missing"},
       "the installer is missing or not a regular file: missing; name it with --installer"},
      {{"--launcher", "payload"},
       "the launcher is missing or not a regular file: payload; name it with --launcher"},
      {{"--layout", "flat"},
       "--layout flat needs two volumes or more, and the media has one; use --layout single, or "
       "make more volumes"},
      {{"--layout", "single", "--volume-size", "1100K"},
       "--layout single has one volume, and the media needs 2; use another layout, or make fewer "
       "volumes"},
      {{"--volume-size", std::to_string(2048 * BlocksOfTheFirstVolume() - 1)},
       TooSmallForTheFirst()},
      // Enough for what the first volume holds besides payload, but not for the file.
      {{"--volume-size", std::to_string(2048 * BlocksOfTheFirstVolume())}, file},
      {{"--volume-size", std::to_string(2048 * (kFrame + 147 + 1) - 1)}, file},
      {{"--volume-size=-5"}, bad_size + "-5" + kGiveASize},
      {{"--volume-size", "-4M"}, bad_size + "-4M" + kGiveASize},
      {{"--volume-size", ""}, bad_size + kGiveASize},
      {{"third"}, "unexpected argument: third (see --help)"},
  };
  const CheckWorld world(Payload() +
                         "file programs/set\\x20up; file programs/kvl-launcher; file programs/" +
                         std::string(254, 'i'));
  for (const auto& [further, line] : rows) {
    SCOPED_TRACE(line);
    world.ExpectRefusedAndUntouched(further, line);
  }
}

/// Expects make to write a media with this size, and to refuse a size that is smaller by one byte.
void ExpectSmallestSize(const CheckWorld& world, Lines further, std::uint64_t bytes,
                        const std::string& path, const std::string& remedy) {
  further.insert(further.end(), {"--volume-size", std::to_string(bytes - 1)});
  world.ExpectRefusedAndUntouched(further, TooLarge(path, std::to_string(bytes), remedy));
  further.back() = std::to_string(bytes);
  const Outcome made = world.MakeMedia(further);
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.status, 0);
}

TEST(KvlMediaMake, NamesTheSizeThatIsEnough) {
  ExpectSmallestSize(CheckWorld(Payload()), {}, 2048 * (kFrame + 147 + 1), "5", "split the file");
  const CheckWorld presorted(kPresorted + "file payload/2/x " + std::string(600'000, 'x') +
                             "; file payload/2/y/z");
  ExpectSmallestSize(presorted, {"--presorted"}, 2048 * (kFrame + 1 + 293 + 1), "payload/2",
                     "move files to another directory");
}

TEST(KvlMediaMake, RefusesADirectoryThatIsNotEmpty) {
  const std::string line = "the directory is not empty: {media}; empty it, or name another one";
  ExpectRefusals(Payload(),
                 {{"file media/.hidden", line},
                  {"file media/lost+found", line},
                  {"link media/lost+found payload", line},
                  {"dir media/directory", line},
                  {"link media/link x", line},
                  {"link media nowhere",
                   "DIR is not a directory: {media}; name one that is empty or missing"}});
}

TEST(KvlMediaMake, RefusesADirectoryThatItMayNotWriteInto) {
  const CheckWorld world(Payload() + "dir media; mode 555 media");
  world.ExpectRefused(world.MakeMedia({}, "media", GiveUpPermissions),
                      "you have no permission to read and write DIR: {media}; name another "
                      "directory");
  EXPECT_THAT(DescribeTree(world.Path("media")), IsEmpty());
}

TEST(KvlMediaMake, WritesBesideTheLostAndFoundOfAFileSystem) {
  const CheckWorld world(Payload() + "dir media/lost+found");
  world.ExpectMade(world.MakeMedia(), "'{media}");
  EXPECT_THAT(NamesIn(world.Path("media")), testing::Contains("d 755 lost+found"));
}

TEST(KvlMediaMake, RefusesAPayloadThatCannotGoOntoAMedia) {
  const std::string long_name(254, 'x');
  ExpectRefusals(
      Payload(),
      {{"pipe payload/x", "a pipe, socket or device cannot go onto a media: payload/x; remove it"},
       {"file payload/x\\ny", "a name has a line break: payload/x\\x0Ay; rename it"},
       {"file payload/" + long_name,
        "a name is too long for a disc: payload/" + long_name + "; shorten it to 253 bytes"},
       {"remove payload; file payload", "PAYLOAD is not a directory: payload; name a directory"}});
}

TEST(SplitPayload, NeverPutsMoreOnAVolumeThanItHolds) {
  PayloadList payload;
  for (int i = 100; i < 600; ++i) {
    const std::string directory = "d" + std::to_string(i / 50);
    if (i % 50 == 0) payload.Add({.name = directory, .type = EntryType::kDirectory});
    payload.Add(
        {.name = directory + "/" + std::to_string(i), .size = std::uint64_t(i) * 997 % 40'000});
  }
  constexpr std::uint64_t kMost = 1'000'000;
  const auto volumes = SplitPayload(std::move(payload),
                                    {.most_bytes = kMost, .on_first = 500'000, .in_manifest = 0});
  EXPECT_GT(volumes.size(), 5U);
  std::uint64_t files = 0;
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    std::uint64_t bytes = i == 0 ? 500'000 : 0;
    for (const PayloadEntry& entry : volumes[i]) {
      bytes += entry.IsDirectory() ? kDiscBlock : OnDisc(entry.size);
    }
    files += volumes[i].files;
    EXPECT_LE(bytes, kMost);
  }
  EXPECT_EQ(files, 500U);
}

TEST(SplitPayload, RefusesTooManyVolumes) {
  PayloadList payload;
  for (int i = 1000; i < 2001; ++i) payload.Add({.name = std::to_string(i), .size = 500'000});
  const VolumeRoom room = {.most_bytes = 700'000, .on_first = 0, .in_manifest = 0};
  EXPECT_THROW(SplitPayload(std::move(payload), room), CannotMake);
}

TEST(ParseVolumeSize, TakesWholeNumbersWithUnitsAndDiscs) {
  const std::vector<std::pair<std::string, std::uint64_t>> rows = {
      {"1", 1},
      {"300000", 300'000},
      {"007", 7},
      {"1K", 1'024},
      {"650M", 681'574'400},
      {"4G", 4'294'967'296},
      {"18446744073709551615", 18'446'744'073'709'551'615U},
      {"18014398509481983K", 18'446'744'073'709'550'592U},
      {"17179869183G", 18'446'744'072'635'809'792U},
      {"1KB", 1'000},
      {"4700MB", 4'700'000'000},
      {"4GB", 4'000'000'000},
      {"18446744073GB", 18'446'744'073'000'000'000U},
      {"cd", 681'676'800},
      {"dvd", 4'700'372'992},
      {"dvd-dl", 8'543'666'176},
  };
  for (const auto& [text, bytes] : rows) EXPECT_EQ(ParseVolumeSize(text), bytes) << text;
}

TEST(ParseVolumeSize, RefusesEverythingElse) {
  std::istringstream rows(
      "|0|0K|00|-1|-5|-4M|+4M|4X|4m|4kB|4KiB|4B|4TB|4MK|CD|cd |2cd|dvd-|0KB|18446744074GB|4 M| 4|4 "
      "|4.7G|4,7G|0x10|1e9|K|G4|four|"
      "18446744073709551616|18014398509481984K|17592186044416M|17179869184G|"
      "99999999999999999999999");
  for (std::string text; std::getline(rows, text, '|');) {
    EXPECT_THAT(
        [&] { ParseVolumeSize(text); },
        testing::ThrowsMessage<CannotMake>("--volume-size is not a size: " + text + kGiveASize));
  }
}

}  // namespace
}  // namespace kvl::test
