// Whole runs with odd texts in paths and arguments.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

TEST(RunTexts, AMediaPathWithoutDoubleQuotesReachesTheInstallerUnchanged) {
  for (const std::string name : {"my media", " ", "it's", "a&b;c|d$HOME*?~#", "ca\xc3\xa7\xc3\xa3o",
                                 "\xff\xfe\x80", "tab\there", "-env", "[1]"}) {
    SCOPED_TRACE(name);
    LaunchWorld world;
    const std::string media = "{" + name + "}";
    world.Volume(name).Installer();
    ExpectRun(
        world, world.Run({}, name),
        {.out = SaysFoundIn(media), .arguments = StartedFrom(media), .env = {.media = media}});
  }
}

/// The text as a message shows it.
std::string Indented(const std::string& text) {
  return std::regex_replace(text, std::regex("\n"), "\n       ");
}

TEST(RunTexts, AnOddMediaPathIsStagedToo) {
  for (const std::string name : {"my media/\xff 1", "it's/\n/1"}) {
    LaunchWorld world;
    world.Volume(name).Installer().Descriptions().Announces("2");
    const LaunchSeen seen = world.Run({}, name);
    const std::string shown = Indented(world.Path(name));
    ExpectedRun expected = Staged();
    expected.out = SaysFoundIn(shown) + " INFO: This media is composed of 2 volumes.\n";
    expected.err = " WARN: 1.txt not found or not accessible in: " + shown +
                   "\n       Please make sure you copied the whole volume.\n" + kStagedWarning;
    expected.env.original = "{" + name + "}";
    expected.env.found = {{"KVLAdmInstVolumesCount", "2"}};
    expected.left.media = name;
    ExpectRun(world, seen, expected);
  }
}

TEST(RunTexts, ALineFeedInAMediaPathIndentsTheRestOfTheMessage) {
  LaunchWorld world;
  world.Volume("two\nlines").Installer();
  const LaunchSeen seen = world.Run({}, "two\nlines");
  ExpectRun(world, seen,
            {.out = " INFO: {two}\n       lines/inst/linux/code/bin/installer\n"
                    " INFO: Installer found in current media: \"{two}\n"
                    "       lines/inst/linux/code/bin/installer\".\n",
             .arguments = StartedFrom("{two\nlines}"),
             .env = {.media = "{two\nlines}"}});
}

TEST(RunTexts, AMediaPathIsNormalised) {
  LaunchWorld world;
  world.OneVolume();
  for (const std::string given : {"{1}/", "{}//1//", "\"{1}\"", "'{1}'", "{}\\1\\"}) {
    SCOPED_TRACE(given);
    ExpectRun(world, world.Run({.env = {{"CurrentMediaDir", given}}}), InPlace());
  }
}

TEST(RunTexts, AMediaPathWithADoubleQuoteInItIsSplitAndCannotBeStarted) {
  LaunchWorld world;
  world.Volume("a\"b").Installer();
  const LaunchSeen seen = world.Run({}, "a\"b");
  const std::string command = Quoted(InstallerOf("{a\"b}")) + " \"-CDpath\" " + Quoted("{a\"b}");
  ExpectRun(world, seen,
            {.status = 255, .out = SaysFoundIn("{a\"b}"), .err = SaysCannotWait(command)});
}

TEST(RunTexts, AnInstallerPathThatBeginsWithADoubleQuoteIsNotQuotedAgain) {
  LaunchWorld world;
  world.Volume("\"m").Installer();
  const LaunchSeen seen =
      world.Run({.env = {{"CurrentMediaDir", "\"m"}}, .directory = world.Path(".")});
  ExpectRun(world, seen,
            {.status = 255,
             .out = SaysFoundIn("\"m"),
             .err = SaysCannotWait("\"m/inst/linux/code/bin/installer \"-CDpath\" \"\"m\"")});
}

TEST(RunTexts, OnlyOnePairOfQuotesIsTakenFromAMediaPath) {
  LaunchWorld world;
  world.Volume("\"m\"").Installer();
  const LaunchSeen seen =
      world.Run({.env = {{"CurrentMediaDir", "\"\"m\"\""}}, .directory = world.Path(".")});
  const std::string command = "\"m\"/inst/linux/code/bin/installer \"-CDpath\" \"\"m\"\"";
  // Split, this is the path without its quotes, and that names nothing.
  ExpectRun(world, seen,
            {.status = 255, .out = SaysFoundIn("\"m\""), .err = SaysCannotWait(command)});
}

TEST(RunTexts, ArgumentsAreQuotedWithoutEscapingAndSplitAgain) {
  struct Row {
    std::vector<std::string> given, received;
  };
  const std::vector<Row> rows = {
      {{"a b", "  ", "c"}, {"a b", "  ", "c"}},
      {{"it's", "'x y'", "$HOME", "*", "a;b|c&"}, {"it's", "'x y'", "$HOME", "*", "a;b|c&"}},
      {{"\n", "\t", "caf\xc3\xa9", "\xff\x80"}, {"\n", "\t", "caf\xc3\xa9", "\xff\x80"}},
      {{"a\\b", "C:\\x y\\z"}, {"a\\b", "C:\\x y\\z"}},
      {{"a\\\\b"}, {"a\\b"}},
      {{"", "a", "", ""}, {"a"}},
      {{"a\\", "b"}, {"a\" b"}},
      {{"a\\"}, {"a\""}},
      {{"a\\", "b c", "d"}, {"a\" b", "c d"}},
      {{"a\\\\", "b"}, {"a\\", "b"}},
      {{"say \"hi\" now"}, {"say hi now"}},
      {{"a\"b c\"d"}, {"ab", "cd"}},
      {{"\""}, {}},
      {{"x\\\"y"}, {"x\"y"}},
  };
  LaunchWorld world;
  world.OneVolume();
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.given));
    ExpectedRun expected = InPlace();
    expected.arguments = StartedFrom("{1}", row.received);
    ExpectRun(world, world.Run({.arguments = row.given}), expected);
  }
}

TEST(RunTexts, AnOddTMPDIRIsUsedAsItStands) {
  for (const std::string name : {"a b", "it's", "\xff"}) {
    SCOPED_TRACE(name);
    LaunchWorld world;
    world.VolumeMissing();
    ExpectRun(world, world.Run({.env = {{"TMPDIR", "{tmp/" + name + "}"}}}), Staged());
  }
}

TEST(RunTexts, AnOddExternalMediaIsPassedOnUnchanged) {
  LaunchWorld world;
  world.Volume("1");
  world.Volume("it's\t\xff/1").Installer();
  const std::string ext = "{it's\t\xff}";
  const LaunchSeen seen = world.Run({.arguments = {"-installerPath", ext}});
  ExpectRun(
      world, seen,
      {.out = SaysNoneIn("{1}") + " INFO: Argument \"-installerPath\" found and its value is " +
              Quoted(ext) + ".\n INFO: Installer Media: " + Quoted(InstallerOf(ext + "/1")) + "\n",
       .arguments = {InstallerOf(ext + "/1"), "-CDpath", "{1}"},
       .env = {.external = ext + "/1/inst/"}});
}

}  // namespace
}  // namespace kvl::test
