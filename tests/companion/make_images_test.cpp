// kvl-media make --iso: the images hold what the volumes hold, and are the same everywhere.
#include <nlohmann/json.hpp>

#include "companion/make/disc_image.h"
#include "tests/companion/images_world.h"

namespace kvl::test {
namespace {

TEST_F(MakeIso, WritesImagesWithTheContentsOfTheVolumes) {
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

TEST_F(MakeIso, WritesTheSameImagesEverywhere) {
  ASSERT_EQ(Make("sibling", {"--iso"}).status, 0);
  // Another order of directories and inodes, place, mode, locale, time zone and start-up file.
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

/// The check at the end of make sets the variables of the installer, whose directory then is the
/// first one for programs and libraries.
TEST_F(MakeIso, StartsNoProgramOfTheMedia) {
  world_.Change(
      "file needs/linux/code/bin/xorriso #!/bin/sh; mode 755 needs/linux/code/bin/xorriso; "
      "file needs/linux/code/bin/libc.so.6 none; file needs/linux/code/bin/libisoburn.so.1 none");
  const Outcome seen = Make("sibling", {"--iso", "--inst", "needs"}, "media",
                            {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}});
  EXPECT_EQ(seen.status, 0);
  EXPECT_EQ(seen.err, "");
  ExpectHolds("media/1.iso", "media/1");
}

TEST_F(MakeIso, WritesFixedNamesAndTheTimeOfTheMedia) {
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

TEST_F(MakeIso, LeavesOnlyImagesWithIsoOnly) {
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

TEST_F(MakeIso, NamesTheImagesInJsonAndInADryRun) {
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

TEST_F(MakeIso, KeepsImagesOfARealTreeWithinTheVolumeSize) {
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
  EXPECT_GE(close, volumes - 3);  // except those that end before a large file, and the last one
}

TEST_F(MakeIso, WritesImagesThatVerifyAcceptsBesideTheVolumes) {
  ASSERT_EQ(Make("sibling", {"--iso"}).status, 0);
  world_.Change("file media/01.iso; dir media/3.iso; file media/1000.iso; file media/note.iso");
  world_.ExpectVerified({"{media}"}, 1,
                        "not listed    {media/01.iso}\nnot listed    {media/1000.iso}\n"
                        "not listed    {media/3.iso}\nnot listed    {media/note.iso}\n"
                        "4 problems; read: 16 files, <n> bytes\n");
}

TEST(ImageName, IsValidInIso9660) {
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
