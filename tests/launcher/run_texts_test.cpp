// Whole runs with odd texts in paths and arguments.

#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

TEST(RunTexts, AMediaPathReachesTheInstallerUnchanged) {
  for (const std::string name : {"my media", " ", "it's", "a&b;c|d$HOME*?~#", "ca\xc3\xa7\xc3\xa3o",
                                 "\xff\xfe\x80", "tab\there", "-env", "[1]"}) {
    SCOPED_TRACE(name);
    LaunchWorld world;
    const std::string media = "{" + name + "}";
    world.Volume(name).Installer();
    world.Expect(
        {.out = SaysFoundIn(media), .arguments = StartedFrom(media), .env = {.media = media}}, {},
        name);
  }
}

TEST(RunTexts, AnOddMediaPathIsStagedToo) {
  for (const std::string name : {"my media/\xff 1", "it's/\n/1"}) {
    LaunchWorld world;
    world.Volume(name).Installer().Descriptions().Announces("2");
    const std::string shown = Replaced(world.Path(name), "\n", "\n       ");  // as in a message
    ExpectedRun expected = Staged()
                               .Says(SaysFoundIn(shown) + says::ComposedOf("2"))
                               .Warns(says::NoFirstMarker(shown) + says::Staged())
                               .Finds({{"KVLAdmInstVolumesCount", "2"}});
    expected.env.original = "{" + name + "}";
    expected.left.media = name;
    world.Expect(expected, {}, name);
  }
}

TEST(RunTexts, AMediaPathIsNormalised) {
  LaunchWorld world;
  world.OneVolume();
  for (const std::string given : {"{1}/", "{}//1//", "\"{1}\"", "'{1}'", "{}\\1\\"}) {
    SCOPED_TRACE(given);
    world.Expect(InPlace(), WithVariables({{"CurrentMediaDir", given}}));
  }
}

/// Makes a media in this directory and names it in this way to the launcher, which then cannot
/// start the installer.
void ExpectNotStarted(const std::string& directory, const std::string& given,
                      const std::string& media, const std::string& command) {
  LaunchWorld world;
  world.Volume(directory).Installer();
  world.Expect({.status = 255, .out = SaysFoundIn(media), .err = says::CannotWait(command)},
               {.env = {{"CurrentMediaDir", given}}, .directory = "{}"});
}

TEST(RunTexts, AMediaPathWithADoubleQuoteCannotBeStarted) {
  ExpectNotStarted("a\"b", "{a\"b}", "{a\"b}", CommandOf(StartedFrom("{a\"b}")));
}

TEST(RunTexts, AnInstallerPathInQuotesIsNotQuotedAgain) {
  ExpectNotStarted("\"m", "\"m", "\"m", "\"m/inst/linux/code/bin/installer \"-CDpath\" \"\"m\"");
}

TEST(RunTexts, OnlyOnePairOfQuotesIsTakenFromAMediaPath) {
  // After the split, the command begins with the path without its quotes, which names nothing.
  ExpectNotStarted("\"m\"", "\"\"m\"\"", "\"m\"",
                   "\"m\"/inst/linux/code/bin/installer \"-CDpath\" \"\"m\"\"");
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
    world.Expect(InPlace().Passes(row.received), {.arguments = row.given});
  }
}

TEST(RunTexts, AnOddTMPDIRIsUsedAsItStands) {
  for (const std::string name : {"a b", "it's", "\xff"}) {
    SCOPED_TRACE(name);
    LaunchWorld world;
    world.VolumeMissing().Expect(Staged(), WithVariables({{"TMPDIR", "{tmp/" + name + "}"}}));
  }
}

TEST(RunTexts, AnOddExternalMediaIsPassedOnUnchanged) {
  const std::string ext = "{it's\t\xff}", installer = InstallerOf(ext + "/1");
  LaunchWorld world;
  world.Volume("1");
  world.Volume("it's\t\xff/1").Installer();
  world.Expect(
      {.out = SaysNoneIn("{1}") + says::ArgumentNames(ext) + says::InstallerMedia(installer),
       .arguments = {installer, "-CDpath", "{1}"},
       .env = {.external = ext + "/1/inst/"}},
      {.arguments = {"-installerPath", ext}});
}

}  // namespace
}  // namespace kvl::test
