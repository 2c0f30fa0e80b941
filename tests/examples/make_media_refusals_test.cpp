// The media maker: calls that make no sense, and directories that it leaves alone.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

/// A bad call of any kind: this one line, status 2, and nothing in the world is touched.
void ExpectRefusal(const SampleWorld& world, const Lines& arguments, const std::string& line) {
  const Lines before = DescribeTreeExactly(world.Path("."));
  ExpectOutcome(world, world.MakeMedia(arguments), {2, "", "make-media: " + line + "\n"});
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

struct Row {
  Lines arguments;
  std::string line;
};

/// Each row is a call with a launcher that is there.
void ExpectRefusals(const std::vector<Row>& rows) {
  const SampleWorld world;
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    Lines arguments = {"--launcher", "/bin/true"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    ExpectRefusal(world, arguments, row.line);
  }
}

TEST(MakeMediaRefuses, UnknownOptionsMissingValuesAndAnyButOneDirectory) {
  const std::string missing = "the directory to write into is missing (see --help)";
  ExpectRefusals({
      {{}, missing},
      {{""}, missing},
      {{"--"}, missing},
      {{"--", ""}, missing},
      {{"--layout", "flat"}, missing},
      {{"media", "other"}, "more than one directory: other"},
      {{"media", "--", "--help"}, "more than one directory: --help"},
      {{"--", "media", "--tag"}, "more than one directory: --tag"},
      {{"", "media"}, "more than one directory: media"},
      {{"media", ""}, "more than one directory: "},
      {{"-x", "media"}, "unknown option: -x (see --help)"},
      {{"media", "-h"}, "unknown option: -h (see --help)"},
      {{"--Layout", "flat", "media"}, "unknown option: --Layout (see --help)"},
      {{"--layout=flat", "media"}, "unknown option: --layout=flat (see --help)"},
      {{"media", "--layout"}, "option --layout needs a value"},
      {{"media", "--volumes"}, "option --volumes needs a value"},
      {{"media", "--tag"}, "option --tag needs a value"},
      {{"media", "--launcher"}, "option --launcher needs a value"},
  });
}

TEST(MakeMediaRefuses, ANumberOfVolumesThatIsNoneAndATagThatAMarkerCannotHold) {
  std::vector<Row> rows = {
      {{"--tag", "", "media"}, "--tag must not be empty"},
      {{"--tag", "a\nb", "media"}, "--tag must not hold a line break"},
      {{"--tag", "a\n", "media"}, "--tag must not hold a line break"},
      {{"--tag", "a\r", "media"}, "--tag must not hold a line break"},
  };
  for (const char* volumes : {"", "0", "00", "01", "1000", "-1", "+2", "2 ", " 2", "1.5", "0x2",
                              "two", "2a", "$((1))", "*"}) {
    rows.push_back({{"--volumes", volumes, "media"},
                    std::string("--volumes must be a number from 1 to 999: ") + volumes});
  }
  ExpectRefusals(rows);
}

TEST(MakeMediaRefuses, ALayoutThatIsNoneOrDoesNotFitTheNumberOfVolumes) {
  ExpectRefusals({
      {{"--layout", "", "media"}, "unknown layout:  (single, flat, sibling or am)"},
      {{"--layout", "Flat", "media"}, "unknown layout: Flat (single, flat, sibling or am)"},
      {{"--layout", "fla", "media"}, "unknown layout: fla (single, flat, sibling or am)"},
      {{"--layout", "*", "media"}, "unknown layout: * (single, flat, sibling or am)"},
      {{"--layout", "single", "--volumes", "2", "media"}, "layout single has one volume, not 2"},
      {{"--layout", "flat", "--volumes", "1", "media"}, "layout flat needs two volumes or more"},
      {{"--layout", "sibling", "--volumes", "1", "media"},
       "layout sibling needs two volumes or more"},
      {{"--layout", "am", "--volumes", "1", "media"}, "layout am needs two volumes or more"},
  });
}

TEST(MakeMediaRefuses, ALayoutThatOnlyBeginsLikeOne) {
  ExpectRefusals({
      {{"--layout", "flat:x", "media"}, "unknown layout: flat:x (single, flat, sibling or am)"},
      {{"--layout", "am:2", "media"}, "unknown layout: am:2 (single, flat, sibling or am)"},
      {{"--layout", "single:1", "--volumes", "1", "media"},
       "unknown layout: single:1 (single, flat, sibling or am)"},
  });
}

TEST(MakeMediaRefuses, ALauncherThatIsNoFile) {
  const SampleWorld world;
  world.Directory().MakeDir("directory");
  world.Directory().Link("dangling", "nowhere");
  for (const char* name : {"missing", "directory", "dangling", "-x", "directory/"}) {
    ExpectRefusal(world, {"--launcher", name, "media"},
                  std::string("the launcher is not there: {}/") + name);
  }
  ExpectRefusal(world, {"--launcher", "{missing}", "media"},
                "the launcher is not there: {missing}");
  ExpectRefusal(world, {"--launcher", "", "media"}, "the launcher is not there: ");
}

TEST(MakeMediaRefuses, ADirectoryThatIsNotEmpty) {
  const std::vector<std::function<void(const TestDirectory&)>> fillings = {
      [](const TestDirectory& world) { world.Write("media/file", ""); },
      [](const TestDirectory& world) { world.Write("media/.hidden", ""); },
      [](const TestDirectory& world) { world.Write("media/...", ""); },
      [](const TestDirectory& world) { world.Write("media/-n", ""); },
      [](const TestDirectory& world) { world.Write("media/\n", ""); },
      [](const TestDirectory& world) { world.MakeDir("media/directory"); },
      [](const TestDirectory& world) { world.Link("media/link", "nowhere"); },
      [](const TestDirectory& world) { world.Pipe("media/pipe"); },
      [](const TestDirectory& world) { world.Link("media", "tmp"), world.Write("tmp/file", ""); },
  };
  for (const auto& fill : fillings) {
    const SampleWorld world;
    fill(world.Directory());
    ExpectRefusal(world, {"--launcher", "/bin/true", "media"},
                  "the directory is not empty: {media}");
  }
}

TEST(MakeMediaRefuses, WhatIsNoDirectory) {
  const SampleWorld world;
  world.Directory().Write("file", "kept");
  world.Directory().Link("dangling", "nowhere");
  world.Directory().Link("link to a file", "file");
  world.Directory().Pipe("pipe");
  for (const char* name : {"file", "dangling", "link to a file", "pipe"}) {
    ExpectRefusal(world, {"--launcher", "/bin/true", name},
                  std::string("not a directory: {}/") + name);
  }
}

TEST(MakeMediaRefuses, ADirectoryThatItMustNotWriteInto) {
  for (const unsigned mode : {0555U, 0333U, 0666U}) {
    const SampleWorld world;
    fs::copy(SourceFile("examples/make-media"), world.Path("make-media"));
    SetMode(world.Directory().MakeDir("media"), mode);
    const Outcome outcome =
        RunProgram({{"/bin/sh", "make-media", "--launcher", "/bin/true", "media"},
                    {{"PATH", "/usr/bin:/bin"}},
                    world.Path("."),
                    "",
                    GiveUpSuperpowers});
    if (outcome.status == kStillSuper) GTEST_SKIP() << "the superuser keeps its powers here";
    ExpectOutcome(world, outcome, {2, "", "make-media: no permission to write into: {media}\n"});
    SetMode(world.Path("media"), 0755);
    EXPECT_TRUE(fs::is_empty(world.Path("media")));
  }
}

TEST(MakeMediaRefuses, WithOneLineWhateverTheNamesHold) {
  ExpectRefusals({
      {{"media", "a\nb\n"}, "more than one directory: a?b?"},
      {{"-a\r\nb\tc\x1b", "media"}, "unknown option: -a??b?c? (see --help)"},
      {{"--volumes", "2\n", "media"}, "--volumes must be a number from 1 to 999: 2?"},
      {{"--layout", "flat\n", "media"}, "unknown layout: flat? (single, flat, sibling or am)"},
      {{"--tag", "%s\\n", "-%s\\n"}, "unknown option: -%s\\n (see --help)"},
      {{"media", "\xc3\xa9"}, "more than one directory: \xc3\xa9"},
  });
}

TEST(MakeMediaFails, WithStatusOneWhenTheDirectoryCannotBeMade) {
  const SampleWorld world;
  world.Directory().Write("file", "kept");
  const Outcome outcome = world.MakeMedia({"--launcher", "/bin/true", "file/media"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err, "");
  EXPECT_EQ(ReadFile(world.Path("file")), "kept");
}

}  // namespace
}  // namespace kvl::test
