// kvl-media make with options from a file.

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

class ConfigFile : public testing::Test {
 protected:
  /// Plans a media with this configuration file. Keeps only the first line of the report.
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

TEST_F(ConfigFile, IsOverriddenByTheCall) {
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
  world_.ExpectRefused(
      Plan(text), "--keep-together is not a directory of PAYLOAD: e, f; give its path in PAYLOAD");
  world_.Change("dir payload/e,\\x20f");
  EXPECT_EQ(Plan(text).status, 0);
  EXPECT_EQ(Plan("keep-together = d\n" + text).status, 0);
  EXPECT_EQ(Plan(text, {"--keep-together", "d", "payload", "media"}).status, 0);
  world_.Change("remove payload/e,\\x20f");
  EXPECT_EQ(Plan(text, {"--keep-together", "d", "payload", "media"}).status, 0);
}

TEST_F(ConfigFile, IsRefusedWithOneLineIfItIsInvalid) {
  const auto unknown = [](const std::string& name) {
    return "--config has an unknown option: media.toml: " + name +
           "; use the options of make, without --, or PAYLOAD or DIR";
  };
  const auto value = [](const std::string& name) {
    return "--config does not give one value for an option: media.toml: " + name +
           "; give one, put blanks and commas in quotes, and leave # out";
  };
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"colour = red", unknown("colour")},
      {"[make]\ntag = A", unknown("make.tag")},
      {"config = other", unknown("config")},
      {"help = true", unknown("help")},
      {"\x1B[2J = 1", unknown("\\x1B[2J")},
      {"tag = My suite", value("tag")},
      {"tag = [A, B]", value("tag")},
      {"tag = []", value("tag")},
      {"keep-together = []", value("keep-together")},
      {"keep-together = \"a#b\"", value("keep-together")},
      {"tag = A\ntag = B", value("tag")},
      {"tag = A\nos = x\ntag = B", value("tag")},
      {"tag = \"A#B\"", value("tag")},
      {"dry-run = maybe", "Could not convert: --dry-run = maybe"},
      {"", "--tag is required"},
      {std::string(65'537, '#'), "--config is too long: media.toml: 65536 bytes are allowed"},
  };
  for (const auto& [text, line] : rows) {
    SCOPED_TRACE(line);
    world_.ExpectRefused(Plan(text), line + " (see --help)");
  }
}

TEST_F(ConfigFile, IsRefusedIfItIsNotARegularFile) {
  world_.Change("pipe pipe");
  for (const auto& [name, error] : {std::pair("missing", "No such file or directory"),
                                    {"payload", "Is a directory"},
                                    {"pipe", "Operation not supported"},
                                    {"/dev/zero", "Operation not supported"}}) {
    world_.ExpectRefused(
        world_.Companion({"make", "--config", name, "payload", "media"}),
        std::string("--config cannot be read: ") + name + ": " + error + " (see --help)");
  }
}

}  // namespace
}  // namespace kvl::test
