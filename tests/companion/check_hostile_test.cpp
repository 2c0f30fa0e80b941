// kvl-media check: media that are made to lead somebody astray, keep the program busy, or take its
// memory.
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

TEST(CheckOfAHostileMedia, SendsNoCharacterToATerminalThatItWouldObey) {
  CheckWorld world;
  world.TwoVolumes();
  const std::vector<std::pair<std::string, std::string>> names = {
      {"a\x1B[2J", "a\\x1B[2J"},
      {"b\x7F", "b\\x7F"},
      {"c\xC2\x9B"
       "31m",
       "c\\xC2\\x9B31m"},
      {"d\xE2\x80\xA8", "d\\xE2\\x80\\xA8"},
      {"e\xE2\x80\xAEtxt.exe", "e\\xE2\\x80\\xAEtxt.exe"},
      {"f\xE2\x81\xA6", "f\\xE2\\x81\\xA6"},
      {"g\xD8\x9C", "g\\xD8\\x9C"},
      {"h\xC3\xA4\xE2\x82\xAC", "h\xC3\xA4\xE2\x82\xAC"},
  };
  std::string lines, paths;
  for (const auto& [name, shown] : names) {
    world.Volume("2").Link(name, "nowhere");
    lines += "warning    {2}/" + shown +
             ": a link that leads nowhere; put there what it leads to, or remove the link\n";
    std::string escaped = shown;
    for (std::size_t at = 0; (at = escaped.find('\\', at)) != std::string::npos; at += 2) {
      escaped.insert(at, "\\");
    }
    paths += "      \"path\": \"{2}/" + escaped + "\"\n";
  }
  const Outcome text = world.Check();
  EXPECT_EQ(text.out, world.Text(std::string(kTwoVolumes) + lines +
                                 "8 problems: the installer will be started in place\n"));
  EXPECT_EQ(text.err, "");
  EXPECT_EQ(text.status, 1);

  const Outcome json = world.Check({"--json"});
  std::string seen;
  std::istringstream stream(json.out);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("      \"path\": "))
      seen += line.substr(0, line.find_last_not_of(',') + 1) + "\n";
  }
  EXPECT_EQ(seen, world.Text(paths));
  EXPECT_EQ(json.err, "");
  EXPECT_EQ(json.status, 1);
}

}  // namespace
}  // namespace kvl::test
