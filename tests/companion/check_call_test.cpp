// kvl-media: how it is called, and its report for programs.
#include <filesystem>
#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

using Json = nlohmann::json;
using Lines = std::vector<std::string>;

TEST(KvlMedia, RefusesBadCallsWithOneLine) {
  struct Row {
    Lines arguments;
    std::string line;
  };
  const std::vector<Row> rows = {
      {{}, "A subcommand is required (see --help)"},
      {{"nonsense"}, "A subcommand is required (see --help)"},
      {{"check"}, "DIR is required (see --help)"},
      {{"check", ""}, "not a directory: "},
      {{"check", "missing"}, "not a directory: missing"},
      {{"check", "1/1.txt"}, "not a directory: 1/1.txt"},
      {{"check", "1", "2"}, "The following argument was not expected: 2 (see --help)"},
      {{"check", "1", "--jsn"}, "The following argument was not expected: --jsn (see --help)"},
      {{"check", "1", "--os"}, "--os: 1 required TEXT missing (see --help)"},
  };
  CheckWorld world;
  world.TwoVolumes();
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const Outcome seen = world.Companion(row.arguments);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "kvl-media: " + row.line + "\n");
    EXPECT_EQ(seen.status, 2);
  }
}

TEST(KvlMedia, TellsItsVersion) {
  const Outcome seen = CheckWorld().Companion({"--version"});
  EXPECT_EQ(seen.out, "kvl-media 0.1.0\n");
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 0);
}

TEST(KvlMedia, HelpsWithEverySubcommand) {
  for (const Lines& arguments : {Lines{"--help"}, Lines{"check", "--help"}}) {
    const Outcome seen = CheckWorld().Companion(arguments);
    EXPECT_THAT(seen.out, testing::HasSubstr("Usage: kvl-media"));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
  }
}

TEST(KvlMediaCheck, TakesTheNamesFromTheStartScriptWhenNobodyElseGivesThem) {
  CheckWorld world;
  world.TwoVolumes().Volume("1").File(
      "StartTUI.sh", "#!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n");
  const std::string fine =
      world.Text(std::string(kTwoVolumes) + "Fine: the installer will be started in place\n");
  const Environment tmp = {{"TMPDIR", "{tmp}"}};
  EXPECT_EQ(world.Companion({"check", "1"}, tmp).out, fine);
  EXPECT_EQ(world.Companion({"check", "2/../1/"}, tmp).out, fine);
  EXPECT_EQ(world.Companion({"check", "./1/."}, tmp).out, fine);

  EXPECT_THAT(world.Companion({"check", "1"}, {{"KVL_OS", "other"}}).out,
              testing::HasSubstr("System     other\n"));
  EXPECT_THAT(world.Companion({"check", "1", "--os", "third"}, {{"KVL_OS", "other"}}).out,
              testing::HasSubstr("System     third\n"));
}

TEST(KvlMediaCheck, ShowsCommandVariablesAndMessagesOnDemand) {
  CheckWorld world;
  world.Volume("1").Installer().Announces("1");
  const Outcome seen = world.Check({"--verbose", "--", "-SoftMgt", "-List"});
  EXPECT_THAT(
      seen.out,
      testing::StartsWith(world.Text("Media      {1}\n"
                                     "System     linux\n"
                                     "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
                                     "Volumes    not looked for\n"
                                     "Start      in place\n"
                                     "Command\n"
                                     "  {1}/inst/linux/code/bin/installer\n"
                                     "  --mgt\n"
                                     "  ") +
                          std::filesystem::path(world.Path(".")).parent_path().string() + "\n"));
  EXPECT_EQ(seen.status, 0);
}

TEST(KvlMediaCheck, GivesProgramsOneObjectWithAllKeys) {
  CheckWorld world;
  world.VolumeMissing().Volume("1").Link("a\xFF\\", "nowhere");
  const Outcome seen = world.Check({"--json"});
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
  Json report = Json::parse(seen.out);
  const Json variables = report["variables"];
  EXPECT_EQ(variables["ORBInst"], world.Text("{tmp}/<identifier>/inst"));
  report.erase("variables");
  report["staging"]["bytes"] = 0;
  report["staging"]["free_bytes"] = 0;
  const Json expected = Json::parse(world.Text(R"([
    "format", 1, "fine", false, "expectation", "installer-runs", "status", null,
    "media", "{1}", "os", "linux", "installer_name", "installer", "layout", "unknown",
    "volume_count", 2, "tag", "SET-A", "staged", true])"));
  for (std::size_t i = 0; i < expected.size(); i += 2) {
    EXPECT_EQ(report[expected[i].get<std::string>()], expected[i + 1]) << expected[i];
  }
  EXPECT_EQ(
      report["volumes"],
      Json({{{"number", 1}, {"directory", world.Path("1")}, {"tag", "SET-A"}, {"state", "found"}},
            {{"number", 2}, {"directory", world.Path("2")}, {"tag", ""}, {"state", "missing"}}}));
  EXPECT_EQ(report["installer"],
            Json({{"path", world.Path("1/inst/linux/code/bin/installer")}, {"source", "media"}}));
  EXPECT_EQ(report["staging"]["names"],
            Json({"StartGUI.sh", "StartTUI.sh", "inst/common/reffiles/list",
                  "inst/linux/code/bin/installer", "inst/linux/reffiles/list", "inst/volumes.txt",
                  "media.db", "media.xml", "meta.TOCxml"}));
  EXPECT_EQ(report["findings"],
            Json({{{"code", "volume-missing"},
                   {"severity", "warning"},
                   {"path", world.Path("2/2.txt")},
                   {"text", "volume 2 is missing: it has no marker"},
                   {"remedy", "copy the whole volume there"}},
                  {{"code", "dangling-link"},
                   {"severity", "warning"},
                   {"path", world.Path("1/a\\xFF\\\\")},
                   {"text", "a link that leads nowhere"},
                   {"remedy", "put there what it leads to, or remove the link"}}}));
  EXPECT_EQ(report["further"], Json::object());
  EXPECT_EQ(report.size(), 18U);
}

}  // namespace
}  // namespace kvl::test
