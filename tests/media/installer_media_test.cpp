#include "media/installer_media.h"

#include "console/logger.h"
#include "tests/media/scan_checks.h"
#include "tests/support/messages.h"
#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

/// All texts as in MediaWorld. Its directory is the working directory.
struct MediaRow {
  std::string name;
  std::vector<std::string> directories;  ///< that hold an installer
  std::string media;
  std::string transcript;  ///< both streams (see TranscriptOf) and the result
  InstallerPlace place = {"P", "X"};
  bool quiet = kWithVerdict;
};

/// Also expects the media to stay as it is.
void ExpectValidation(const MediaWorld& world, const MediaRow& row) {
  const Undo leave([before = fs::current_path()] { fs::current_path(before); });
  fs::current_path(world.Path("."));
  const std::vector<std::string> before = DescribeTreeExactly(world.Path("."));
  InstallerMedia media;
  Logger logger;
  const Outcome said = Catch(
      [&] { media = ValidateInstallerMedia(world.Text(row.media), row.place, row.quiet, logger); });
  const std::vector<std::string> verdicts = {"not usable", "blank in directory", "usable"};
  EXPECT_EQ(TranscriptOf(said.out, said.err) + "= " + verdicts[std::size_t(media.verdict)] + " " +
                media.inst_slash + " " + media.installer,
            "\n" + world.Text(row.transcript));
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

void ExpectValidations(const std::vector<MediaRow>& rows) {
  for (const MediaRow& row : rows) {
    SCOPED_TRACE(row.name);
    const MediaWorld world;
    for (const std::string& directory : row.directories) {
      const std::string bin = directory + "/inst/" + row.place.platform + "/code/bin/";
      row.place.executable.empty() ? world.Directory().MakeDir(bin)
                                   : world.Directory().Write(bin + row.place.executable, "");
    }
    ExpectValidation(world, row);
  }
}

constexpr char kUsual[] = "P/code/bin/X";
constexpr char kRefused[] = "= not usable  ";

const std::string kHasBlank =
    R"(2>ERROR: The directory of the installer contains space characters.
2>       Please copy the Installer media into a directory that does not contain space characters
2>       and run the installer again.
= blank in directory  )";

/// `way` is the path from the media's "inst" to the installer.
std::string NotBelow1(const std::string& media, const std::string& way = kUsual) {
  return says::NotBelowOne(media + "/1/inst/" + way);
}

std::string NoneIn(const std::string& media, const std::string& way = kUsual) {
  return NotBelow1(media, way) + says::NoInstallerMedia(media + "/inst/" + way) + kRefused;
}

std::string FoundIn(const std::string& directory, const std::string& way = kUsual) {
  const std::string inst_slash = directory + "/inst/";
  return says::InstallerMedia(inst_slash + way) + "= usable " + inst_slash + " " + inst_slash + way;
}

TEST(EnsureTrailingSlash, AppendsASlashToATextWithoutOneAtItsEnd) {
  const std::map<std::string, std::string> rows = {
      {"/m", "/m/"}, {"/m/", "/m/"}, {"/m//", "/m//"},  {"", ""},          {"/", "/"},
      {"m", "m/"},   {" ", " /"},    {"/m/ ", "/m/ /"}, {"X:\\", "X:\\/"},
  };
  for (const auto& [before, after] : rows) {
    std::string text = before;
    EnsureTrailingSlash(text);
    EXPECT_EQ(text, after) << before;
  }
}

TEST(ValidateInstallerMedia, FindsTheInstaller) {
  ExpectValidations({
      {"below the sub-directory 1", {"m/1"}, "{m}", FoundIn("{m}/1")},
      {"below 1 of a media with a slash", {"m/1"}, "{m}/", FoundIn("{m}/1")},
      {"in the media itself", {"m"}, "{m}", NotBelow1("{m}") + FoundIn("{m}")},
      {"in a media with a slash", {"m"}, "{m}/", NotBelow1("{m}") + FoundIn("{m}")},
      {"below 1 rather than in the media", {"m", "m/1"}, "{m}", FoundIn("{m}/1")},
      {"of a media with two slashes", {"m/1"}, "{m}//", FoundIn("{m}//1")},
      {"of a media with dots", {"m/1"}, "{}/./m/../m/./", FoundIn("{}/./m/../m/./1")},
      {"of a relative media", {"m/1"}, "m", FoundIn("m/1")},
      {"of the working directory", {"1"}, ".", FoundIn("./1")},
      {"of a media with other white space",
       {"a\tb\xc2\xa0/1"},
       "a\tb\xc2\xa0",
       FoundIn("a\tb\xc2\xa0/1")},
  });
}

TEST(ValidateInstallerMedia, NamesBothPlacesWhenThereIsNoInstaller) {
  ExpectValidations({
      {"missing", {}, "{missing}", NoneIn("{missing}")},
      {"relative", {}, "missing", NoneIn("missing")},
      {"in quotes", {"m/1"}, "\"{m}\"", NoneIn("\"{m}\"")},
      {"with a backslash", {"m/1"}, "{m}\\", NoneIn("{m}\\")},
      {"with a semicolon", {"m/1"}, "{m};", NoneIn("{m};")},
      {"the root, whose slash is not doubled", {}, "/", NoneIn("")},
  });
  const MediaWorld world;
  const TestDirectory& directory = world.Directory();
  directory.MakeDir("empty");
  directory.MakeDir("a b");
  directory.MakeDir("line\nfeed");
  directory.Write("file", "");
  directory.Write("other platform/inst/Q/code/bin/X", "");
  directory.Write("other name/1/inst/P/code/bin/Y", "");
  directory.Link("dangling/inst/P/code/bin/X", directory.Path("nowhere"));
  for (const std::string name :
       {"empty", "a b", "line\nfeed", "file", "other platform", "other name", "dangling"}) {
    SCOPED_TRACE(name);
    const std::string shown = Replaced(name, "\n", "\n       ");
    ExpectValidation(world, {name, {}, "{" + name + "}", NoneIn("{" + shown + "}")});
  }
}

TEST(ValidateInstallerMedia, OfAnEmptyMediaSaysNothing) {
  ExpectValidations(
      {{"with verdict", {}, "", kRefused}, {"quiet", {}, "", kRefused, {"P", "X"}, kQuiet}});
}

TEST(ValidateInstallerMedia, QuietLeavesOutTheVerdictOnAnInvalidMedia) {
  const InstallerPlace place = {"P", "X"};
  ExpectValidations({
      {"none", {}, "{m}", NotBelow1("{m}") + kRefused, place, kQuiet},
      {"found", {"m"}, "{m}", NotBelow1("{m}") + FoundIn("{m}"), place, kQuiet},
      {"blank", {"a b"}, "{a b}", NotBelow1("{a b}") + kHasBlank, place, kQuiet},
  });
}

TEST(ValidateInstallerMedia, RefusesABlankInTheDirectoryOfAnInstaller) {
  for (const std::string name : {"a b", " m", "m ", "a b/m", "m/ ", " "}) {
    const std::string media = "{" + name + "}";
    ExpectValidations({{"\"" + name + "\" with 1", {name + "/1"}, media, kHasBlank},
                       {"\"" + name + "\"", {name}, media, NotBelow1(media) + kHasBlank}});
  }
}

TEST(ValidateInstallerMedia, PutsThePlaceTogetherAsItIs) {
  ExpectValidations({
      {"a blank in the platform", {"m/1"}, "{m}", FoundIn("{m}/1", "P Q/code/bin/X"), {"P Q", "X"}},
      {"a blank in the name", {"m/1"}, "{m}", FoundIn("{m}/1", "P/code/bin/X Y"), {"P", "X Y"}},
      {"no platform: a doubled slash", {"m/1"}, "{m}", FoundIn("{m}/1", "/code/bin/X"), {"", "X"}},
      {"no platform, and no 1",
       {"m"},
       "{m}",
       NotBelow1("{m}", "/code/bin/X") + FoundIn("{m}", "/code/bin/X"),
       {"", "X"}},
      {"no name: the bin directory", {"m/1"}, "{m}", FoundIn("{m}/1", "P/code/bin/"), {"P", ""}},
      {"no name, and no bin directory", {}, "{m}", NoneIn("{m}", "P/code/bin/"), {"P", ""}},
  });
}

TEST(ValidateInstallerMedia, TakesWhateverExistsForTheInstaller) {
  const MediaWorld world;
  SetMode(world.Directory().Write("file/1/inst/P/code/bin/X", ""), 0);
  world.Directory().MakeDir("directory/1/inst/P/code/bin/X");
  world.Directory().Link("link/1/inst/P/code/bin/X", world.Path("file"));
  for (const std::string name : {"{file}", "{directory}", "{link}"}) {
    SCOPED_TRACE(name);
    ExpectValidation(world, {name, {}, name, FoundIn(name + "/1")});
  }
}

}  // namespace
}  // namespace kvl::test
