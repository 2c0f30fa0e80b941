// kvl-media make --iso: disc images that hold what the volumes do, the same bytes wherever they are made,
// and none that only looks whole.
#include <nlohmann/json.hpp>

#include "companion/make/disc_image.h"
#include "tests/companion/sealed_world.h"
#include "tests/companion/xorriso.h"

namespace kvl::test {
namespace {

const std::string kReal = "exec " + std::string(kXorriso) + " \"$@\"\n";

class MakeImages : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoXorriso(); !why.empty()) GTEST_SKIP() << why;
    world_.Change("file payload/2/b/larger " + std::string(5000, 'x') +
                  "; link payload/2/b/l ../a");
  }

  /// Makes a media of one volume in the layout single, else of two.
  Outcome Make(const std::string& layout, const Lines& further,
               const std::string& directory = "media", const Environment& env = {},
               const std::function<void()>& before = {}) const {
    Lines call = {"make", "--tag", "T 1", "--installer", "setup", "--launcher", "launcher"};
    call.insert(call.end(), further.begin(), further.end());
    const Lines rest = layout == "single"
                           ? Lines{"payload/2", directory}
                           : Lines{"--presorted", "--layout", layout, "payload", directory};
    call.insert(call.end(), rest.begin(), rest.end());
    Environment all = {{"PATH", "{bin}:/usr/bin:/bin"}};
    for (const auto& [name, value] : env) all[name] = value;
    return world_.Companion(call, all, before);
  }

  /// In the place of xorriso, with these lines of shell.
  void PutInItsPlace(const std::string& lines) const {
    SetMode(world_.Directory().Write("bin/xorriso", "#!/bin/sh\n" + lines), 0755);
  }

  std::string Size(const std::string& image) const {
    return std::to_string(fs::file_size(world_.Path(image)));
  }

  /// The image holds what the directory does, with modes, links and times, all of it the superuser's.
  void ExpectHolds(const std::string& image, const std::string& directory) const {
    SCOPED_TRACE(image);
    const std::string path = world_.Path(image), unpacked = world_.Path("unpacked");
    Unpack(path, unpacked);
    EXPECT_EQ(DescribeTree(unpacked), DescribeTree(world_.Path(directory)));
    for (const auto& entry : fs::recursive_directory_iterator(unpacked)) {
      if (entry.is_symlink()) continue;
      const fs::path name = entry.path().lexically_relative(unpacked);
      EXPECT_EQ(entry.last_write_time(), fs::last_write_time(world_.Path(directory) / name))
          << name;
    }
    const Outcome list = RunProgram(
        {{kXorriso, "-no_rc", "-indev", "stdio:" + path, "-find", "/", "-exec", "lsdl"}});
    EXPECT_THAT(MatchesIn("\n" + list.out, "\n[-dlrwx]{10} +[0-9]+ 0 +0 "),
                testing::SizeIs(DescribeTree(unpacked).size() + 1));
    fs::remove_all(unpacked);
  }

  /// The media is as whole as without images, and there is none, nor a part of one.
  void ExpectOnlyTheMedia(const std::string& media, const std::string& volumes = "") const {
    EXPECT_THAT(world_.Verify({media}).status, 0);
    for (const auto& entry : fs::recursive_directory_iterator(world_.Path("."))) {
      EXPECT_EQ(entry.path().string().find(".iso"), std::string::npos) << entry.path() << volumes;
    }
  }

  SealedWorld world_;
};

TEST_F(MakeImages, HoldsWhatTheVolumesDo) {
  struct Row {
    std::string layout;
    Lines volumes, directories;
  };
  for (const Row& row :
       {Row{"single", {"media"}, {"media"}},
        Row{"sibling", {"media/1", "media/2"}, {"media/1", "media/2"}},
        Row{"am", {"media/1", "media/2"}, {"media/1/media/1", "media/2/media/2"}}}) {
    SCOPED_TRACE(row.layout);
    const Outcome seen = Make(row.layout, {"--iso"});
    const std::string first = "{" + row.directories.front() + "}";
    std::string said = "Made a media with tag T 1, layout " + row.layout +
                       ", volumes: " + std::to_string(row.volumes.size()) + ".\nFirst volume: '" +
                       first + "'\nStart it with: '" + first + "/StartTUI.sh'\n";
    for (std::size_t i = 0; i < row.volumes.size(); ++i) {
      const std::string image = row.volumes[i] + ".iso";
      said += "Image of volume " + std::to_string(i + 1) + ": '{" + image +
              "}', bytes: " + Size(image) + "\n";
      EXPECT_EQ(ModeOf(world_.Path(image)), 0644U);
      ExpectHolds(image, row.volumes[i]);
    }
    EXPECT_EQ(seen, (Outcome{0, world_.Text(said), ""}));
    EXPECT_EQ(world_.Verify({"{media}"}).status, 0);
    fs::remove_all(world_.Path("media"));
    fs::remove(world_.Path("media.iso"));
  }
}

TEST_F(MakeImages, IsTheSameWhereverAndByWhomever) {
  ASSERT_EQ(Make("sibling", {"--iso"}).status, 0);
  // Another order of directories and inodes, another place, mode, locale, time zone and start-up file.
  world_.Change(
      "move payload/1 other; dir payload/1; move other/b payload/1/b; move other/a payload/1/a; "
      "remove other; file .xorrisorc -volid OTHER; dir new");
  SetMode(world_.Path("new"), 0700);
  ASSERT_EQ(
      Make("sibling", {"--iso"}, "new",
           {{"TZ", "Asia/Tokyo"}, {"LC_ALL", "C.UTF-8"}, {"HOME", "{.}"}, {"LANG", "C.UTF-8"}},
           [] { ::umask(0077); })
          .status,
      0);
  for (const std::string image : {"1.iso", "2.iso"}) {
    EXPECT_TRUE(ReadFile(world_.Path("media/" + image)) == ReadFile(world_.Path("new/" + image)));
    EXPECT_EQ(fs::last_write_time(world_.Path("media/" + image)),
              fs::last_write_time(world_.Path("new/" + image)));
  }
  EXPECT_EQ(fs::last_write_time(world_.Path("media")), fs::last_write_time(world_.Path("new")));
  ASSERT_EQ(Make("single", {"--iso"}, "one").status, 0);
  world_.Change("dir two");
  SetMode(world_.Path("two"), 0700);
  ASSERT_EQ(Make("single", {"--iso"}, "two").status, 0);
  EXPECT_TRUE(ReadFile(world_.Path("one.iso")) == ReadFile(world_.Path("two.iso")));
}

/// The check at the end sets the variables of an installer: its directory is the first on PATH then, and
/// where libraries are looked for.
TEST_F(MakeImages, StartsNoProgramOfTheMedia) {
  world_.Change(
      "file needs/linux/code/bin/xorriso #!/bin/sh; mode 755 needs/linux/code/bin/xorriso; "
      "file needs/linux/code/bin/libc.so.6 none; file needs/linux/code/bin/libisoburn.so.1 none");
  const Outcome seen = Make("sibling", {"--iso", "--inst", "needs"}, "media",
                            {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}});
  EXPECT_EQ(seen.status, 0);
  EXPECT_EQ(seen.err, "");
  ExpectHolds("media/1.iso", "media/1");
}

TEST_F(MakeImages, HasFixedNamesAndTheTimeOfTheMedia) {
  ASSERT_EQ(Make("single", {"--iso", "--tag", "My-suite 2.0 \xC3\xA4"}, "media",
                 {{"SOURCE_DATE_EPOCH", "1700000000"}})
                .status,
            0);
  const std::string descriptor = ReadFile(world_.Path("media.iso")).substr(16 * 2048, 2048);
  const auto field = [&](std::size_t at, std::size_t length) {
    return Replaced(descriptor.substr(at, length), " +$", "");
  };
  EXPECT_EQ(field(8, 32), "");                    // system
  EXPECT_EQ(field(40, 32), "MY_SUITE_2_0____1");  // volume
  EXPECT_EQ(field(190, 128), "");                 // set
  EXPECT_EQ(field(318, 128), "");                 // publisher
  EXPECT_EQ(field(446, 128), "KVL-MEDIA");        // preparer
  EXPECT_EQ(field(574, 128), "");                 // application
  EXPECT_EQ(field(813, 16), "2023111422132000");  // made
  EXPECT_EQ(field(830, 16), "2023111422132000");  // changed
  EXPECT_EQ(field(847, 16) + field(864, 16), std::string(32, '0'));
}

TEST_F(MakeImages, LeavesImagesAlone) {
  const auto lines_of = [&](const Lines& images) {
    std::string lines;
    for (const std::string& image : images) {
      lines += "Image of volume " + std::to_string(&image - images.data() + 1) + ": '{" + image +
               "}', bytes: " + Size(image) + "\n";
    }
    return lines;
  };
  for (const std::string layout : {"sibling", "am"}) {
    ASSERT_EQ(Make(layout, {"--iso"}, "whole").status, 0);
    const Outcome seen = Make(layout, {"--iso-only"});
    EXPECT_EQ(seen,
              (Outcome{0,
                       world_.Text("Made a media with tag T 1, layout " + layout +
                                   ", volumes: 2.\n" + lines_of({"media/1.iso", "media/2.iso"})),
                       ""}));
    EXPECT_THAT(DescribeTree(world_.Path("media")), testing::SizeIs(2));
    for (const std::string image : {"/1.iso", "/2.iso"}) {
      EXPECT_TRUE(ReadFile(world_.Path("media" + image)) == ReadFile(world_.Path("whole" + image)));
    }
    world_.Change("remove media; remove whole");
  }
  world_.Change("dir there");
  for (const std::string directory : {"media", "there"}) {
    const Outcome seen = Make("single", {"--iso-only"}, directory);
    EXPECT_EQ(seen, (Outcome{0,
                             world_.Text("Made a media with tag T 1, layout single, volumes: 1.\n" +
                                         lines_of({directory + ".iso"})),
                             ""}));
  }
  EXPECT_FALSE(fs::exists(world_.Path("media")));
  EXPECT_THAT(DescribeTree(world_.Path("there")), IsEmpty());
}

TEST_F(MakeImages, RemovesNothingThatItHasNotMade) {
  PutInItsPlace("echo mine >'" + world_.Path("media/1/payload/1/stranger") + "'\n" + kReal);
  const Outcome seen = Make("sibling", {"--iso-only"});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.err,
            world_.Text("kvl-media: cannot be removed: {media/1/payload/1}: Directory not "
                        "empty; all disc images are whole\n"));
  EXPECT_EQ(ReadFile(world_.Path("media/1/payload/1/stranger")), "mine\n");
  EXPECT_TRUE(fs::exists(world_.Path("media/2/media.manifest")));
}

TEST_F(MakeImages, SaysInJsonAndBeforehandWhereTheyLie) {
  const Outcome planned = Make("sibling", {"--iso", "--dry-run"});
  ASSERT_EQ(planned.status, 0) << planned.err;
  const Groups most =
      MatchOf(planned.out,
              "[^]*\nVolume 1: [^\n]*\nImage of volume 1: '([^']*)', bytes at most: ([0-9]+)\n"
              "Volume 2: [^\n]*\nImage of volume 2: '([^']*)', bytes at most: ([0-9]+)\n");
  ASSERT_FALSE(most.empty()) << planned.out;
  EXPECT_EQ(most[1], world_.Path("media/1.iso"));
  EXPECT_EQ(most[3], world_.Path("media/2.iso"));
  EXPECT_FALSE(fs::exists(world_.Path("media")));
  const auto json_of = [this](const Lines& further) {
    const Outcome seen = Make("sibling", further);
    EXPECT_EQ(seen.err, "");
    return nlohmann::json::parse(seen.out);
  };
  EXPECT_EQ(json_of({"--iso", "--dry-run", "--json"})["volumes"][1]["image_bytes"],
            std::stoi(most[4]));
  const auto made = json_of({"--iso-only", "--json"});
  const auto row = [&](int number) {
    const std::string image = "media/" + std::to_string(number) + ".iso";
    EXPECT_LE(fs::file_size(world_.Path(image)), std::stoull(most[number == 1 ? 2 : 4]));
    return nlohmann::json{{"number", number},
                          {"directory", ""},
                          {"files", number == 1 ? 2 : 3},
                          {"bytes", number == 1 ? 6 : 5009},
                          {"image", world_.Path(image)},
                          {"image_bytes", fs::file_size(world_.Path(image))}};
  };
  EXPECT_EQ(made["volumes"], (nlohmann::json{row(1), row(2)}));
  EXPECT_EQ(made["starts"], false);
  EXPECT_EQ(made["made"], true);
}

TEST_F(MakeImages, RefusesWhatCannotBeBeforeItWrites) {
  struct Row {
    std::string change, layout, line;
    Environment env = {};
  };
  const std::string long_link(1024, 'x');
  const std::vector<Row> rows = {
      {"", "single", "xorriso is needed for disc images, and is not there", {{"PATH", "/nowhere"}}},
      {"", "flat", "layout flat has all volumes in one directory, and a disc image has one"},
      {"file media.iso", "single", "something is there already: {media.iso}"},
      {"link media.iso nowhere", "single", "something is there already: {media.iso}"},
      {"dir media/lost+found", "single",
       "what lies there would be on the disc image, too: {media}"},
      {"dir payload/2/" + std::string(250, 'd') + "; link payload/2/l " + std::string(250, 'd') +
           Replaced(std::string(400, 'x'), "x", "/."),
       "single", "a link is too long for a disc image: {media}/payload/1/l"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    world_.Change(row.change);
    const Lines before = DescribeTreeExactly(world_.Path("."));
    world_.ExpectRefused(Make(row.layout, {"--iso"}, "media", row.env), row.line);
    EXPECT_EQ(DescribeTreeExactly(world_.Path(".")), before);
    world_.Change("remove media; remove media.iso");
  }
}

TEST_F(MakeImages, LeavesNoImageThatOnlyLooksWhole) {
  const std::string last =
      "for last; do :; done; while [ \"$1\" != -o ]; do shift; done; image=${2#stdio:}\n";
  struct Row {
    std::string lines, why;
  };
  const std::vector<Row> rows = {
      {"exit 32\n", "xorriso ended with status 32"},
      {last + "head -c 99999 /dev/zero >\"$image\"; echo ' : FAILURE : no luck' >&2; exit 5\n",
       " : FAILURE : no luck"},
      {"kill -KILL $$\n", "xorriso ended with status -1"},
      {"exit 0\n", "it is not whole"},
      {last + "head -c 99999 /dev/zero >\"$image\"\n", "it is not whole"},
      {std::string(kXorriso) + " \"$@\" 2>&- ; " + last + "truncate -s -2048 \"$image\"\n",
       "it is not whole"},
      {last + "exec " + kXorriso + " -as mkisofs -o \"$image\" -pad \"$last\"\n",
       "it is larger than the volume size: <n> bytes"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lines);
    PutInItsPlace(row.lines);
    for (const std::string option : {"--iso", "--iso-only"}) {
      Outcome seen = Make("sibling", {option, "--volume-size", "200K"});
      seen.err = Replaced(seen.err, "size: [0-9]+ bytes", "size: <n> bytes");
      EXPECT_EQ(seen,
                (Outcome{1,
                         world_.Text("Made a media with tag T 1, layout sibling, volumes: 2.\n"
                                     "First volume: '{media/1}'\n"
                                     "Start it with: '{media/1}/StartTUI.sh'\n"),
                         world_.Text("kvl-media: no image was written: {media/1.iso} (" + row.why +
                                     "); the media in directories is whole\n")}));
      ExpectOnlyTheMedia("{media}");
      world_.Change("remove media");
    }
  }
}

TEST_F(MakeImages, LeavesNoImageOnAFullDisk) {
  // Another one takes the room meanwhile.
  PutInItsPlace("head -c 99999999 /dev/zero 2>&- >'" + world_.Path("mount/filler") + "'\n" + kReal);
  world_.Change("dir mount");
  const Outcome seen = Make("sibling", {"--iso"}, "mount/media", {}, [&] {
    const bool is_possible =
        ::unshare(CLONE_NEWNS) == 0 &&
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount("none", world_.Path("mount").c_str(), "tmpfs", 0, "size=8M") == 0;
    if (!is_possible) ::_exit(kImpossibleHere);
  });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(Replaced(seen.err, "\\(.*space.*\\);", "(no space);"),
            world_.Text("kvl-media: no image was written: {mount/media/1.iso} (no space); "
                        "the media in directories is whole\n"));
}

TEST_F(MakeImages, LeavesNoImageWhenASignalEndsIt) {
  world_.Change("pipe never");
  PutInItsPlace("kill -TERM $PPID; read -r line <'" + world_.Path("never") + "'\n");
  for (const std::string option : {"--iso", "--iso-only"}) {
    const Outcome seen =
        Make("sibling", {option}, "media", {}, [] { std::signal(SIGTERM, SIG_DFL); });
    EXPECT_EQ(seen, (Outcome{-SIGTERM, "", ""}));
    ExpectOnlyTheMedia("{media}");
    world_.Change("remove media");
  }
}

TEST_F(MakeImages, OfNineVolumesOfARealTreeFit) {
  const std::string real = "/usr/include/c++";
  if (!fs::exists(real)) GTEST_SKIP() << "there is no " << real;
  world_.Change("dir real");
  fs::copy(real, world_.Path("real/c++"), fs::copy_options::recursive);
  std::string deep = "real/deep";
  for (int level = 0; level < 12; ++level) {
    deep += "/" + std::string(40, static_cast<char>('a' + level));
    world_.Directory().Write(deep + "/file", "x");
    world_.Directory().Write(deep + "/" + std::string(253, 'n'), std::string(3000, 'x'));
    world_.Directory().Link(deep + "/" + std::string(100, 'l'),
                            "./../" + std::string(40, static_cast<char>('a' + level)) + "/file");
  }
  for (int i = 0; i < 3000; ++i) {
    world_.Directory().Write("real/tiny/" + std::to_string(i % 20) + "/" + std::to_string(i), "x");
  }
  constexpr std::uint64_t kMost = 1'800'000;
  const Outcome seen =
      world_.Companion({"make", "--tag", "T", "--installer", "setup", "--launcher", "launcher",
                        "--volume-size", std::to_string(kMost), "--iso", "real", "media"});
  ASSERT_EQ(seen.status, 0) << seen.err;
  std::uint64_t volumes = 0, close = 0;
  for (const auto& entry : fs::directory_iterator(world_.Path("media"))) {
    if (!entry.is_directory()) continue;
    ++volumes;
    const std::string directory = entry.path();
    const std::uint64_t size = fs::file_size(directory + ".iso");
    EXPECT_LE(size, kMost) << directory;
    EXPECT_EQ(ImageByHand(directory, world_.Path("by-hand")), size);
    if (size + 100'000 > kMost) ++close;
  }
  EXPECT_GE(volumes, 9U);
  EXPECT_GE(close, volumes - 3);  // but for those that end before a large file, and the last one
}

TEST_F(MakeImages, LieBesideVolumesForVerify) {
  ASSERT_EQ(Make("sibling", {"--iso"}).status, 0);
  world_.Change("file media/01.iso; dir media/3.iso; file media/1000.iso; file media/note.iso");
  world_.ExpectVerified({"{media}"}, 1,
                        "not listed    {media/01.iso}\nnot listed    {media/1000.iso}\n"
                        "not listed    {media/3.iso}\nnot listed    {media/note.iso}\n"
                        "4 problems; read: 16 files, <n> bytes\n");
}

TEST(ImageName, IsOneThatTheFormatHas) {
  const std::vector<std::tuple<std::string, std::size_t, std::string>> rows = {
      {"My suite", 2, "MY_SUITE_2"},
      {"a", 1, "A_1"},
      {"\xC3\xA4/0z9Z.", 10, "___0Z9Z__10"},
      {std::string(256, 't'), 999, std::string(28, 'T') + "_999"},
  };
  for (const auto& [tag, volume, name] : rows) EXPECT_EQ(ImageName(tag, volume), name);
}

}  // namespace
}  // namespace kvl::test
