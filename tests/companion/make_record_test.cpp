// kvl-media make: the lists, manifest, times and texts of a media, and that all of it is stored.
#include <sys/syscall.h>

#include "companion/make/payload_split.h"
#include "companion/make/source_date.h"
#include "companion/names/layout_name.h"
#include "companion/seal/file_list.h"
#include "companion/seal/manifest.h"
#include "tests/companion/check_world.h"
#include "tests/support/call_filter.h"

namespace kvl::test {
namespace {

constexpr long kOld = 1'000'000'000, kNew = 1'100'000'000;

/// A payload of two volumes with odd names, an installer and what it needs.
class MadeMedia : public testing::Test {
 protected:
  MadeMedia() {
    world_.Change(
        "file setup #!/bin/sh\\n; dir payload/2/empty; file payload/1/a\\x20\\x20b/\\xFF\\\\c one; "
        "file payload/1/-n two; file payload/2/program three; mode 711 payload/2/program; "
        "file needs/common/text text; file needs/linux/program x; mode 755 needs/linux/program");
    for (const auto& entry : fs::recursive_directory_iterator(world_.Path("."))) {
      SetTimes(entry.path(), kOld, kOld);
    }
    SetTimes(world_.Path("payload/1/-n"), kOld, kNew);
  }

  /// Makes a media in this layout, and expects that to succeed.
  void Make(const std::string& layout, const std::string& directory = "media",
            const Environment& env = {}) const {
    Lines arguments = {"make",       "--tag", "T 1",    "--installer", "setup",
                       "--launcher", "setup", "--inst", "needs"};
    arguments.insert(arguments.end(), layout == "single"
                                          ? std::initializer_list<std::string>{"payload/1"}
                                          : std::initializer_list<std::string>{
                                                "--presorted", "--layout", layout, "payload"});
    arguments.push_back(directory);
    const Outcome seen = world_.Companion(arguments, env);
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
  }

  /// Returns the directory of a volume.
  std::string VolumeOf(const std::string& layout, int volume) const {
    const bool has_own = layout == "sibling" || layout == "am";
    return world_.Path(has_own ? "media/" + std::to_string(volume) : "media");
  }

  std::string ListOf(const std::string& layout, int volume) const {
    return ReadFile(VolumeOf(layout, volume) + "/" + std::to_string(volume) + ".sha256");
  }

  CheckWorld world_;
};

int CountOf(const std::string& layout) {
  return layout == "single" ? 1 : 2;
}

Outcome InShell(const std::string& directory, const std::string& command) {
  return RunProgram(
      {{"/bin/sh", "-c", command}, {{"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C"}}, directory});
}

/// Returns the lines of sha256sum in the order of their paths.
std::string ByPath(const std::string& lists) {
  std::map<std::string, std::string> lines;
  std::istringstream text(lists);
  for (std::string line; std::getline(text, line);) lines[line.substr(line.find("  "))] = line;
  std::string sorted;
  for (const auto& [path, line] : lines) sorted += line + "\n";
  return sorted;
}

TEST_F(MadeMedia, ListsEveryFileOfAVolumeAsSha256sumDoes) {
  for (const std::string layout : kLayoutNames) {
    SCOPED_TRACE(layout);
    Make(layout);
    const bool is_flat = layout == "flat";
    for (int i = 1; i <= CountOf(layout); ++i) {
      const Outcome sums = InShell(VolumeOf(layout, i),
                                   "find . -type f ! -name '*.sha256' ! -name media.manifest "
                                   "-printf '%P\\0' | sort -z | xargs -0 sha256sum --");
      const std::string list = ListOf(layout, i);
      EXPECT_EQ(is_flat ? ByPath(ListOf(layout, 1) + ListOf(layout, 2)) : list, sums.out);
      EXPECT_EQ(list, ByPath(list));
      EXPECT_EQ(InShell(VolumeOf(layout, i),
                        "sha256sum -c --strict --quiet " + std::to_string(i) + ".sha256"),
                (Outcome{}));
    }
    if (is_flat) {
      EXPECT_EQ(ListOf(layout, 2),
                LineOf({"2.txt", DigestOf(ReadFile(world_.Path("media/2.txt")))}) +
                    LineOf({"payload/2/program", DigestOf("three")}));
    }
    fs::remove_all(world_.Path("media"));
  }
}

TEST_F(MadeMedia, ListsThePayloadOfAllVolumesOnTheFirst) {
  Make("am");
  EXPECT_EQ(ReadFile(world_.Path("media/1/media/1/media.db")),
            "1 " + LineOf({"media/1/payload/1/-n", DigestOf("two")}) + "1 " +
                LineOf({"media/1/payload/1/a  b/\xFF\\c", DigestOf("one")}) + "2 " +
                LineOf({"media/2/payload/2/program", DigestOf("three")}));
}

/// Returns what the manifest must say about a volume with a directory of its own.
ManifestVolume Described(const std::string& directory, const std::string& list) {
  ManifestVolume volume;
  volume.list = DigestOf(list);
  volume.files = static_cast<std::uint64_t>(std::count(list.begin(), list.end(), '\n'));
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string path = entry.path().lexically_relative(directory);
    if (entry.is_directory()) {
      volume.directories.push_back(path);
    } else if (!path.ends_with(".sha256") && path != "media.manifest") {
      volume.bytes += entry.file_size();
      if (ModeOf(entry.path()) == 0755) volume.programs.push_back(path);
    }
  }
  std::sort(volume.directories.begin(), volume.directories.end());
  std::sort(volume.programs.begin(), volume.programs.end());
  return volume;
}

TEST_F(MadeMedia, HasTheSameManifestOnEachVolume) {
  for (const std::string layout : {"single", "sibling", "am"}) {
    SCOPED_TRACE(layout);
    Make(layout);
    Manifest expected = {.tag = "T 1", .layout = LayoutNamed(layout), .volumes = {}};
    for (int i = 1; i <= CountOf(layout); ++i) {
      expected.volumes.push_back(Described(VolumeOf(layout, i), ListOf(layout, i)));
    }
    for (int i = 1; i <= CountOf(layout); ++i) {
      EXPECT_EQ(ReadFile(VolumeOf(layout, i) + "/media.manifest"), TextOf(expected));
    }
    EXPECT_EQ(ParseManifest(TextOf(expected)), expected);
    fs::remove_all(world_.Path("media"));
  }
}

TEST_F(MadeMedia, HasOneManifestInTheFlatLayout) {
  Make("flat");
  const Manifest manifest = ParseManifest(ReadFile(world_.Path("media/media.manifest")));
  ASSERT_EQ(manifest.volumes.size(), 2U);
  EXPECT_EQ(manifest.volumes[0].list, DigestOf(ListOf("flat", 1)));
  const ManifestVolume second = {.files = 2,
                                 .bytes = fs::file_size(world_.Path("media/2.txt")) + 5,
                                 .list = DigestOf(ListOf("flat", 2)),
                                 .directories = {"payload", "payload/2", "payload/2/empty"},
                                 .programs = {"payload/2/program"},
                                 .links = {}};
  EXPECT_EQ(manifest.volumes[1], second);
  ManifestVolume both = Described(world_.Path("media"), "");
  EXPECT_EQ(manifest.volumes[0].bytes + second.bytes, both.bytes);
}

/// Returns the blocks that a directory and its contents take on a disc.
std::uint64_t BlocksOf(const std::string& directory) {
  std::uint64_t blocks = 1;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    blocks += entry.is_directory() ? 1 : OnDisc(entry.file_size()) / kDiscBlock;
  }
  return blocks;
}

TEST(KvlMediaMake, LeavesRoomForListsAndManifestOnEachVolume) {
  CheckWorld world("file setup #!/bin/sh\\n");
  for (int i = 0; i < 300; ++i) {
    const std::string name = "payload/" + std::to_string(i / 10) + "/" + std::to_string(1000 + i);
    SetMode(world.Directory().Write(name + std::string(200, '\\'), std::string(3000, 'x')), 0755);
  }
  constexpr std::uint64_t kMost = 400;
  ASSERT_EQ(world.MakeMedia({"--volume-size", std::to_string(kMost * kDiscBlock)}).status, 0);
  std::vector<std::uint64_t> blocks;
  for (const auto& volume : fs::directory_iterator(world.Path("media"))) {
    blocks.push_back(BlocksOf(volume.path()));
  }
  EXPECT_GT(blocks.size(), 2U);
  EXPECT_THAT(blocks, testing::Each(testing::Le(kMost)));
  constexpr std::uint64_t kOfTheImage = 34;  // 32 before the files, and two more
  EXPECT_THAT(blocks, testing::Contains(testing::Gt(kMost - kOfTheImage - 20)));
}

TEST(KvlMediaMake, CountsTheDirectoriesAndMarkersOfAnAmVolume) {
  const CheckWorld world("file setup #!/bin/sh\\n; dir payload/1; file payload/2/x " +
                         std::string(600'000, 'x'));
  // 32 blocks before the files and two more, four directories, two markers, the list, the manifest
  // and the file.
  constexpr std::uint64_t kNeeded = 32 + 2 + 4 + 2 + 1 + 1 + 293;
  const auto make = [&world](std::uint64_t blocks) {
    return world
        .MakeMedia(
            {"--presorted", "--layout", "am", "--volume-size", std::to_string(blocks * kDiscBlock)})
        .status;
  };
  EXPECT_EQ(make(kNeeded - 1), 2);
  EXPECT_EQ(make(kNeeded), 0);
}

/// Returns the lines of DescribeTree, and the times of the directory and of each entry.
Lines DescribeWithTimes(const std::string& directory) {
  Lines lines = DescribeTree(directory);
  const auto add = [&](const fs::path& path) {
    lines.push_back(std::to_string(fs::last_write_time(path).time_since_epoch().count()) + " " +
                    path.lexically_relative(directory).string());
  };
  add(directory);
  for (const auto& entry : fs::recursive_directory_iterator(directory)) add(entry.path());
  std::sort(lines.begin(), lines.end());
  return lines;
}

TEST_F(MadeMedia, HasTheSameContentsAndTimesWheneverItIsMade) {
  for (const std::string layout : kLayoutNames) {
    for (const Environment& env : {Environment{}, {{"SOURCE_DATE_EPOCH", "1200000000"}}}) {
      SCOPED_TRACE(layout);
      Make(layout, "media", env);
      fs::copy(world_.Path("payload"), world_.Path("copy"), fs::copy_options::recursive);
      world_.Directory().MakeDir("other/directory");
      const ScopedUmask umask(077);
      Make(layout, "other/directory", env);
      EXPECT_EQ(DescribeWithTimes(world_.Path("other/directory")),
                DescribeWithTimes(world_.Path("media")));
      for (const char* left : {"media", "other", "copy"}) fs::remove_all(world_.Path(left));
    }
  }
}

long TimeOf(const std::string& path) {
  return fs::last_write_time(path).time_since_epoch() / std::chrono::seconds(1);
}

TEST_F(MadeMedia, KeepsTheTimesOfCopiesAndHasOneTimeForEverythingElse) {
  const std::set<std::string> copies = {"inst/common/text",
                                        "inst/linux/code/bin/kvl-launcher",
                                        "inst/linux/code/bin/setup",
                                        "inst/linux/program",
                                        "payload/1/-n",
                                        "payload/1/a  b/\xFF\\c"};
  const auto epoch = fs::file_time_type::clock::from_sys(std::chrono::sys_seconds{});
  for (const auto& [text, time] :
       {std::pair("", kNew), {"0", 0L}, {"1200000000", 1'200'000'000L}}) {
    SCOPED_TRACE(text);
    Make("single", "media", {{"SOURCE_DATE_EPOCH", text}});
    const std::string media = world_.Path("media");
    const auto expect_time = [&epoch, time = time](const fs::path& path) {
      EXPECT_EQ(fs::last_write_time(path), epoch + std::chrono::seconds(time)) << path;
    };
    expect_time(media);
    for (const auto& entry : fs::recursive_directory_iterator(media)) {
      if (!copies.contains(entry.path().lexically_relative(media))) expect_time(entry.path());
    }
    EXPECT_EQ(TimeOf(media + "/payload/1/-n"), TimeOf(world_.Path("payload/1/-n")));
    EXPECT_EQ(TimeOf(media + "/inst/linux/program"), TimeOf(world_.Path("needs/linux/program")));
    fs::remove_all(media);
  }
}

TEST_F(MadeMedia, HasTheTimeOfTheInstallerIfThePayloadHoldsNoFile) {
  world_.Change("dir payload");
  ASSERT_EQ(world_.MakeMedia().status, 0);
  EXPECT_EQ(TimeOf(world_.Path("media/1.txt")), TimeOf(world_.Path("setup")));
}

TEST(ParseSourceDate, TakesSecondsAndRefusesEverythingElse) {
  EXPECT_EQ(ParseSourceDate(""), std::nullopt);
  EXPECT_EQ(ParseSourceDate("0"), 0);
  EXPECT_EQ(ParseSourceDate("9223372036854775807"), INT64_MAX);
  for (const std::string text :
       {"-1", "+1", " 1", "1 ", "1.5", "0x1", "now", "9223372036854775808"}) {
    EXPECT_THAT(
        [&] { ParseSourceDate(text); },
        testing::ThrowsMessage<CannotMake>("SOURCE_DATE_EPOCH is not a number of seconds: " + text +
                                           "; set it to decimal digits, or unset it"));
  }
}

TEST_F(MadeMedia, IsNotMadeWithAnInvalidTime) {
  const Lines arguments = {"make", "--tag", "T", "--installer", "setup", "payload", "media"};
  world_.ExpectRefused(world_.Companion(arguments, {{"SOURCE_DATE_EPOCH", "\x1B[m"}}),
                       "SOURCE_DATE_EPOCH is not a number of seconds: \\x1B[m; set it to decimal "
                       "digits, or unset it");
  EXPECT_FALSE(fs::exists(world_.Path("media")));
}

TEST_F(MadeMedia, SaysHowToStartIt) {
  Make("am");
  EXPECT_EQ(ReadFile(world_.Path("media/1/media/1/ReadMe_UNIX.txt")),
            R"(This is volume 1 of the installation media T 1, volumes: 2.

To install, change to a directory that is not on the media, and run the start script
beside this file by its path:

    /path/to/this/directory/StartTUI.sh

If the script does not find the installer, this volume is not whole. Copy or insert
volume 1 again. The installer is

    inst/linux/code/bin/setup

To see which files of this volume are missing or damaged, run "sha256sum -c 1.sha256"
in the directory of the file 1.sha256.
)");
  EXPECT_FALSE(fs::exists(world_.Path("media/2/media/2/ReadMe_UNIX.txt")));
}

TEST_F(MadeMedia, HasTheReadMeOfItsAuthor) {
  world_.Change("file needs/ReadMe_UNIX.txt Call us.");
  Make("sibling");
  EXPECT_EQ(ReadFile(world_.Path("media/1/ReadMe_UNIX.txt")), "Call us.");
  EXPECT_FALSE(fs::exists(world_.Path("media/1/inst/ReadMe_UNIX.txt")));
  EXPECT_THAT(ListOf("sibling", 1),
              testing::HasSubstr(LineOf({"ReadMe_UNIX.txt", DigestOf("Call us.")})));
}

TEST_F(MadeMedia, IsNotCalledMadeWhenItCannotBeStored) {
  world_.ExpectRefused(
      world_.MakeMedia({}, "media", [] { FilterCalls({SYS_syncfs}, SECCOMP_RET_ERRNO | EIO); }),
      "syncfs - {media} - Input/output error\nkvl-media: the media is not whole: {media}; remove "
      "it and run make again",
      1);
  EXPECT_FALSE(fs::exists(world_.Path("media/StartTUI.sh")));
}

}  // namespace
}  // namespace kvl::test
