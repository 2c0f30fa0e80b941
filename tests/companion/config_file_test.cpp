// kvl-media make with its options in a file.

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

class ConfigFile : public testing::Test {
 protected:
  /// Makes a media with that text as its options; says what would be made.
  Outcome Plan(const std::string& text, Lines further = {"payload", "media"}) {
    world_.Directory().Write("media.toml", text);
    further.insert(further.begin(), {"make", "--config", "media.toml"});
    Outcome seen = world_.Companion(further);
    seen.out = seen.out.substr(0, seen.out.find('\n'));
    return seen;
  }

  CheckWorld world_{"file setup #!/bin/sh\\n; file payload/file x"};
};

constexpr char kUsual[] = "installer = setup\nlauncher = /bin/true\ndry-run = true\n";

TEST_F(ConfigFile, HoldsOptionsAndNamesOfDirectories) {
  const Outcome seen = Plan(
      "# A media\ntag = \"My suite, 1\"  # of this year\npresorted = false\n\nPAYLOAD = payload\n"
      "DIR = 'media'\nlayout=single\n" +
          std::string(kUsual),
      {});
  EXPECT_EQ(seen, (Outcome{0, "Would make a media with tag My suite, 1, layout single, volumes: 1.",
                           ""}));
}

TEST_F(ConfigFile, GivesWayToTheCall) {
  const std::string text = "tag = A\nvolume-size = 1\n" + std::string(kUsual);
  for (const Lines& further : {Lines{"--tag", "B", "--volume-size", "9M", "payload", "media"},
                               Lines{"payload", "media", "--volume-size=9M", "--tag=B"}}) {
    EXPECT_EQ(Plan(text, further),
              (Outcome{0, "Would make a media with tag B, layout single, volumes: 1.", ""}));
  }
}

TEST_F(ConfigFile, HasALineForEachValueOfARepeatableOption) {
  const std::string text =
      "tag = A\nkeep-together = d\nkeep-together = 'e, f'\n" + std::string(kUsual);
  world_.Change("dir payload/d");
  world_.ExpectRefused(Plan(text), "--keep-together: no directory of the payload: e, f");
  world_.Change("dir payload/e,\\x20f");
  EXPECT_EQ(Plan(text).status, 0);
  EXPECT_EQ(Plan("keep-together = d\n" + text).status, 0);
  EXPECT_EQ(Plan(text, {"--keep-together", "d", "payload", "media"}).status, 0);
  world_.Change("remove payload/e,\\x20f");
  EXPECT_EQ(Plan(text, {"--keep-together", "d", "payload", "media"}).status, 0);
}

TEST_F(ConfigFile, IsRefusedWithOneLineWhenItIsBad) {
  const std::string about = "--config: media.toml has a line about no option: ";
  const std::string value =
      "--config: media.toml has not one value for this (blanks and commas need quotes, \"#\" is "
      "none): ";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"colour = red", about + "colour"},
      {"[make]\ntag = A", about + "make.tag"},
      {"config = other", about + "config"},
      {"help = true", about + "help"},
      {"\x1B[2J = 1", about + "\\x1B[2J"},
      {"tag = My suite", value + "tag"},
      {"tag = [A, B]", value + "tag"},
      {"tag = []", value + "tag"},
      {"keep-together = []", value + "keep-together"},
      {"keep-together = \"a#b\"", value + "keep-together"},
      {"tag = A\ntag = B", value + "tag"},
      {"tag = A\nos = x\ntag = B", value + "tag"},
      {"tag = \"A#B\"", value + "tag"},
      {"dry-run = maybe", "Could not convert: --dry-run = maybe"},
      {"", "--tag is required"},
      {std::string(65'537, '#'), "--config: media.toml is too long"},
  };
  for (const auto& [text, line] : rows) {
    SCOPED_TRACE(line);
    world_.ExpectRefused(Plan(text), line + " (see --help)");
  }
}

TEST_F(ConfigFile, IsRefusedWhenItIsNoRegularFile) {
  world_.Change("pipe pipe");
  for (const auto& [name, error] : {std::pair("missing", "No such file or directory"),
                                    {"payload", "Is a directory"},
                                    {"pipe", "Operation not supported"},
                                    {"/dev/zero", "Operation not supported"}}) {
    world_.ExpectRefused(
        world_.Companion({"make", "--config", name, "payload", "media"}),
        std::string("--config: ") + name + " cannot be read: " + error + " (see --help)");
  }
}

}  // namespace
}  // namespace kvl::test
