// kvl-media make: the plan of a dry run, the JSON report, and the names of copied files.
#include <nlohmann/json.hpp>

#include "tests/companion/check_world.h"
#include "tests/companion/xorriso.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

using Json = nlohmann::ordered_json;

/// A payload of two volumes, and what the installer needs.
class MakePlan : public testing::Test {
 protected:
  MakePlan() {
    world_.Change(
        "file setup #!/bin/sh\\n; file payload/1/a\\x20b one; dir payload/1/empty; "
        "file payload/2/d/\\x1B[m other; file payload/2/e; file needs/common/text text; "
        "file needs/ReadMe_UNIX.txt mine");
  }

  Outcome Make(Lines further, const std::string& directory = "media") const {
    further.insert(further.begin(), {"--presorted", "--inst", "needs"});
    return world_.MakeMedia(further, directory);
  }

  std::string Plan(const std::string& layout, const std::string& first, const std::string& on_first,
                   const std::string& second, const std::string& on_second) const {
    return world_.Text("Would make a media with tag T 1, layout " + layout +
                       ", volumes: 2.\nIt needs bytes: <n>, files and directories: <n>.\n"
                       "Volume 1: '" +
                       first + "', files of payload: 1, bytes: 3\n" + on_first + "Volume 2: '" +
                       second + "', files of payload: 2, bytes: 5\n" + on_second);
  }

  void ExpectPlan(const Lines& further, const std::string& plan) const {
    const Lines before = DescribeTreeExactly(world_.Path("."));
    Outcome seen = Make(further, "new/media");
    seen.out = Replaced(seen.out, "needs bytes: [1-9][0-9]+, files and directories: [1-9][0-9]",
                        "needs bytes: <n>, files and directories: <n>");
    EXPECT_EQ(seen, (Outcome{0, plan, ""}));
    EXPECT_EQ(DescribeTreeExactly(world_.Path(".")), before);
  }

  CheckWorld world_;
};

const Lines kOnFirst = {"payload/1/a b", "ReadMe_UNIX.txt", "inst/common/text",
                        "inst/linux/code/bin/kvl-launcher", "inst/linux/code/bin/setup"};
const Lines kOnSecond = {"payload/2/d/\\x1B[m", "payload/2/e"};

std::string Each(const Lines& lines, const std::string& in_front) {
  std::string text;
  for (const std::string& line : lines) text += in_front + line + "\n";
  return text;
}

/// The file is sparse, so it takes no room here.
TEST_F(MakePlan, WarnsOfAFileOf4GiB) {
  const auto plan_with = [&](std::uint64_t size, const Lines& further = {}) {
    fs::resize_file(world_.Path("payload/2/e"), size);
    Lines all = {"--dry-run"};
    all.insert(all.end(), further.begin(), further.end());
    return Make(all);
  };
  const Outcome seen = plan_with(4ULL << 30U);
  if (seen.err.find(" are free: ") != std::string::npos) GTEST_SKIP() << "there is no room for it";
  const std::string
      warning =
          "this file has 4 GiB or more, which neither FAT nor a disc image below level 3 of ISO "
          "9660 holds",
      remedy = "let make write the disc images (--iso), or carry the media on another file system";
  EXPECT_EQ(seen.status, 0);
  EXPECT_THAT(
      seen.out,
      testing::EndsWith(world_.Text("files of payload: 2, bytes: 4294967301\nwarning: " + warning +
                                    ": {media}/2/payload/2/e; " + remedy + "\n")));
  const auto json = Json::parse(plan_with(4ULL << 30U, {"--json"}).out);
  EXPECT_EQ(json["findings"], (Json{{{"code", "file-too-large"},
                                     {"severity", "warning"},
                                     {"path", world_.Path("media/2/payload/2/e")},
                                     {"text", warning},
                                     {"remedy", remedy}}}));
  EXPECT_EQ(plan_with((4ULL << 30U) - 1).out.find("warning"), std::string::npos);
  if (!WhyNoXorriso().empty()) return;
  EXPECT_EQ(plan_with(4ULL << 30U, {"--iso"}).out.find("warning"), std::string::npos);
}

TEST_F(MakePlan, IsReportedByADryRunThatWritesNothing) {
  ExpectPlan({"--dry-run"}, Plan("sibling", "{new/media}/1", "", "{new/media}/2", ""));
  ExpectPlan({"--dry-run", "--layout", "flat"}, Plan("flat", "{new/media}", "", "{new/media}", ""));
  ExpectPlan({"--dry-run", "--verbose", "--layout", "am"},
             Plan("am", "{new/media}/1/media/1", Each(kOnFirst, "  "), "{new/media}/2/media/2",
                  Each(kOnSecond, "  ")));
}

TEST_F(MakePlan, IsRefusedForTheSameReasonAsAMedia) {
  world_.Change("link payload/1/x y");
  const std::string line =
      "links are absolute, lead out of the payload or to nothing in it: x -> y; correct them, "
      "remove them, or use --links follow";
  for (const Lines& further : {Lines{"--presorted"}, {"--presorted", "--dry-run"}}) {
    world_.ExpectRefusedAndUntouched(further, line);
  }
}

TEST_F(MakePlan, ListsTheFilesThatMakeCopies) {
  const Outcome seen = Make({"--verbose"});
  EXPECT_EQ(seen.err, Each({kOnFirst[0]}, "Volume 1: ") + Each(kOnSecond, "Volume 2: ") +
                          Each({kOnFirst.begin() + 1, kOnFirst.end()}, "Volume 1: "));
  world_.ExpectMade({seen.status, seen.out, ""}, "'{media}/1", "sibling", 2);
  for (const std::string& name : kOnFirst) EXPECT_TRUE(fs::exists(world_.Path("media/1/" + name)));
}

TEST_F(MakePlan, IsOneJsonObject) {
  const auto volume = [&](int number, const std::string& directory, int files, int bytes) {
    return Json{{"number", number}, {"directory", world_.Text(directory)},
                {"files", files},   {"bytes", bytes},
                {"image", ""},      {"image_bytes", 0}};
  };
  Json expected = {
      {"format", 1},
      {"made", false},
      {"dry_run", true},
      {"starts", false},
      {"message", ""},
      {"tag", "T 1"},
      {"layout", "sibling"},
      {"needed", {{"bytes", 0}, {"entries", 0}}},
      {"volumes", {volume(1, "{media}/1", 1, 3), volume(2, "{media}/2", 2, 5)}},
      {"findings", Json::array()},
      {"further", Json::object()},
  };
  const auto expect = [&](const Lines& further, int status, const std::string& err) {
    SCOPED_TRACE(further.back());
    const Outcome seen = Make(further);
    Json json = Json::parse(seen.out);
    EXPECT_EQ(json["needed"]["bytes"] > 0, json["layout"].is_string());
    EXPECT_EQ(json["needed"]["entries"] > 0, json["layout"].is_string());
    json["needed"] = {{"bytes", 0}, {"entries", 0}};
    EXPECT_EQ(json.dump(1), expected.dump(1));
    EXPECT_EQ(seen.err, err.empty() ? "" : "kvl-media: " + err + "\n");
    EXPECT_EQ(seen.status, status);
  };
  expect({"--json", "--dry-run"}, 0, "");

  expected["made"] = expected["starts"] = true;
  expected["dry_run"] = false;
  expect({"--json"}, 0, "");

  expected["made"] = expected["starts"] = false;
  expected["layout"] = nullptr;
  expected["volumes"] = Json::array();
  expected["message"] =
      "the directory is not empty: " + world_.Path("media") + "; empty it, or name another one";
  expect({"--json"}, 2, expected["message"]);
}

TEST_F(MakePlan, IsOneJsonObjectWithFindingsForAMediaThatDoesNotStart) {
  world_.Change("file empty");
  const Outcome seen = Make({"--json", "--installer", "empty"});
  const Json json = Json::parse(seen.out);
  EXPECT_EQ(json["made"], true);
  EXPECT_EQ(json["starts"], false);
  EXPECT_EQ("kvl-media: " + json["message"].get<std::string>() + "\n", seen.err);
  EXPECT_EQ(json["findings"], (Json{{{"code", "installer-is-empty"},
                                     {"severity", "error"},
                                     {"path", world_.Path("media/1/inst/linux/code/bin/empty")},
                                     {"text", "the installer is empty"},
                                     {"remedy", "copy the installer again"}}}));
  EXPECT_EQ(seen.status, 1);
}

TEST_F(MakePlan, IsOneJsonObjectAfterAFailure) {
  world_.Directory().Write("payload/1/large", std::string(300'000, 'x'));
  const Outcome seen =
      world_.MakeMedia({"--presorted", "--json"}, "media", [] { LimitFileSize(200'000); });
  const std::string line =
      world_.Text("Cannot write into {media}/1/payload/1/large - No space left on device");
  const Json json = Json::parse(seen.out);
  EXPECT_EQ(json["made"], false);
  EXPECT_EQ(json["message"], line);
  EXPECT_EQ(seen.err,
            "kvl-media: " + line +
                world_.Text("\nkvl-media: the media is not whole: {media}; remove it and run make "
                            "again\n"));
  EXPECT_EQ(seen.status, 1);
}

}  // namespace
}  // namespace kvl::test
