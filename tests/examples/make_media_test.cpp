// The media maker: what it writes, where, and what it says about it.
#include <algorithm>
#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

using testing::IsEmpty;

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

/// A program to put on media that nobody starts; small, so that copies of it are cheap.
constexpr char kLauncher[] = "/bin/true";

/// The entries of a tree without the contents of its files.
Lines NamesIn(const std::string& directory) {
  Lines names = DescribeTree(directory);
  for (std::string& line : names) line = line.substr(0, line.find(" = "));
  return names;
}

/// What lies in the directory of a volume because of its payload.
Lines PayloadNames(const std::string& volume, const std::string& number) {
  const std::string payload = volume + "payload", files = payload + "/" + number;
  const std::string share = files + "/share/sample suite";
  return {"d 755 " + payload,
          "d 755 " + files,
          "f 644 " + files + ".cksum",
          "d 755 " + files + "/bin",
          "f 755 " + files + "/bin/sample-tool-" + number,
          "d 755 " + files + "/share",
          "d 755 " + share,
          "d 755 " + share + "/volume " + number,
          "f 644 " + share + "/volume " + number + "/read me.txt",
          "f 644 " + share + "/volume " + number + "/table.dat"};
}

/// What only the first volume has.
Lines FirstVolumeNames(const std::string& volume) {
  Lines names;
  for (const char* name :
       {"inst", "inst/common", "inst/common/resources", "inst/common/resources/msgcatalog",
        "inst/linux", "inst/linux/code", "inst/linux/code/bin"}) {
    names.push_back("d 755 " + volume + name);
  }
  for (const char* name : {"inst/common/resources/msgcatalog/messages.txt", "inst/volumes.txt",
                           "media.db", "media.xml", "meta.TOCxml"}) {
    names.push_back("f 644 " + volume + name);
  }
  for (const char* name : {"StartGUI.sh", "StartTUI.sh", "inst/linux/code/bin/kvl-launcher",
                           "inst/linux/code/bin/sample-installer"}) {
    names.push_back("f 755 " + volume + name);
  }
  return names;
}

/// A layout, where its volumes lie (with a "/" at the end), and all markers with their tags.
struct Layout {
  std::string name;
  Lines volumes;
  Lines further_directories;
  std::map<std::string, std::string> markers;
};

const std::vector<Layout> kLayouts = {
    {"single", {""}, {}, {{"1.txt", "T 1"}}},
    {"flat", {"", ""}, {}, {{"1.txt", "T 1"}, {"2.txt", "T 1"}}},
    {"sibling", {"1/", "2/"}, {"1", "2"}, {{"1/1.txt", "T 1"}, {"2/2.txt", "T 1"}}},
    {"am",
     {"1/media/1/", "2/media/2/"},
     {"1", "1/media", "1/media/1", "2", "2/media", "2/media/2"},
     {{"1/1.txt", "T 1-AM"},
      {"1/media/1/1.txt", "T 1"},
      {"2/2.txt", "T 1-AM"},
      {"2/media/2/2.txt", "T 1"}}},
};

Lines NamesOf(const Layout& layout) {
  Lines names = FirstVolumeNames(layout.volumes.front());
  for (const std::string& directory : layout.further_directories) {
    names.push_back("d 755 " + directory);
  }
  for (const auto& [marker, tag] : layout.markers) names.push_back("f 644 " + marker);
  for (std::size_t i = 0; i < layout.volumes.size(); ++i) {
    const Lines payload = PayloadNames(layout.volumes[i], std::to_string(i + 1));
    names.insert(names.end(), payload.begin(), payload.end());
  }
  // In the flat layout the volumes share their "payload".
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

/// The sums of all files in the payload of a volume, as the system's own program gives them.
std::string SumsOf(const SampleWorld& world, const std::string& volume, const std::string& number) {
  const std::string share = "./share/sample suite/volume " + number;
  const Outcome sums = RunProgram({{"/usr/bin/env", "cksum", "./bin/sample-tool-" + number,
                                    share + "/read me.txt", share + "/table.dat"},
                                   {{"PATH", "/usr/bin:/bin"}},
                                   world.Path(volume) + "/payload/" + number});
  EXPECT_EQ(sums.status, 0) << sums.err;
  return sums.out;
}

std::string NumberEachLine(const std::string& number, const std::string& lines) {
  std::string numbered = number + " " + lines;
  for (std::size_t at = 0; (at = numbered.find('\n', at)) + 1 < numbered.size();) {
    numbered.insert(++at, number + " ");
  }
  return numbered;
}

/// What make-media says at its end; `directory` is that of the first volume.
std::string SaysMade(const std::string& what, const std::string& directory) {
  return "Made a media with " + what + ".\nFirst volume: '" + directory + "'\nStart it with: '" +
         directory + "/StartTUI.sh' --target DIRECTORY\n";
}

TEST(MakeMedia, EveryLayoutIsComplete) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.name);
    const SampleWorld world;
    const Outcome outcome = world.MakeMedia(
        {"--layout", layout.name, "--tag", "T 1", "--launcher", kLauncher, "media"});
    std::string first = "{media/" + layout.volumes.front() + "}";
    if (const std::size_t slash = first.find("/}"); slash != std::string::npos) {
      first.erase(slash, 1);
    }
    const std::string number = std::to_string(layout.volumes.size());
    ExpectOutcome(
        world, outcome,
        {0, SaysMade("tag T 1, layout " + layout.name + ", volumes: " + number, first), ""});
    EXPECT_EQ(NamesIn(world.Path("media")), NamesOf(layout));
    for (const auto& [marker, tag] : layout.markers) {
      EXPECT_EQ(ReadFile(world.Path("media/" + marker)),
                "Volume marker of the Sample Suite media\nMTBDIR=" + tag + "\n")
          << marker;
    }
    EXPECT_EQ(ReadFile(world.Path("media/" + layout.volumes.front() + "inst/volumes.txt")),
              number + "\n");
  }
}

TEST(MakeMedia, APayloadIsAProgramATextAndATable) {
  const SampleWorld world;
  world.Media({.options = {"--layout", "sibling", "--tag", "A & B"}, .launcher = kLauncher});
  const std::string payload = world.Path("media/2/payload/2");
  const Outcome tool = RunProgram({{payload + "/bin/sample-tool-2"}});
  ExpectOutcome(world, tool, {0, "Tool 2 of the Sample Suite\n", ""});
  EXPECT_EQ(ReadFile(payload + "/share/sample suite/volume 2/read me.txt"),
            "This file came from volume 2 of A & B.\n");
  std::string table;
  for (int i = 1; i <= 2000; ++i) {
    table += "2 " + std::to_string(i) + " " + std::to_string(2 * i * i) + "\n";
  }
  EXPECT_EQ(ReadFile(payload + "/share/sample suite/volume 2/table.dat"), table);
}

TEST(MakeMedia, EveryPayloadFileIsListedWithItsChecksum) {
  const SampleWorld world;
  world.Media({.options = {"--layout", "am"}, .launcher = kLauncher});
  const std::string first = SumsOf(world, "media/1/media/1", "1");
  const std::string second = SumsOf(world, "media/2/media/2", "2");
  EXPECT_EQ(ReadFile(world.Path("media/1/media/1/payload/1.cksum")), first);
  EXPECT_EQ(ReadFile(world.Path("media/2/media/2/payload/2.cksum")), second);
  EXPECT_EQ(ReadFile(world.Path("media/1/media/1/media.db")),
            NumberEachLine("1", first) + NumberEachLine("2", second));
}

TEST(MakeMedia, TheDescriptionFilesDescribeTheMedia) {
  const SampleWorld world;
  world.Media({.options = {"--layout", "flat", "--tag", "a&b <\"c\">"}, .launcher = kLauncher});
  EXPECT_EQ(ReadFile(world.Path("media/media.xml")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<media product=\"Sample Suite\" tag=\"a&amp;b &lt;&quot;c&quot;&gt;\" "
            "system=\"linux\" volumes=\"2\"/>\n");
  EXPECT_EQ(ReadFile(world.Path("media/meta.TOCxml")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<contents>\n"
            "  <volume number=\"1\" marker=\"1.txt\" payload=\"payload/1\"/>\n"
            "  <volume number=\"2\" marker=\"2.txt\" payload=\"payload/2\"/>\n"
            "</contents>\n");
  EXPECT_EQ(ReadFile(world.Path("media/inst/common/resources/msgcatalog/messages.txt")),
            "product=Sample Suite\nfinished=Everything is in place.\n");
}

TEST(MakeMedia, TheProgramsOnTheMediaCanBeExecuted) {
  const SampleWorld world;
  SetMode(world.Directory().Write("given launcher", "launcher"), 0600);
  world.Media({.launcher = "given launcher"});
  const std::string programs = world.Path("media/inst/linux/code/bin");
  EXPECT_EQ(ReadFile(programs + "/kvl-launcher"), "launcher");
  EXPECT_EQ(ModeOf(programs + "/kvl-launcher"), 0755U);
  EXPECT_EQ(ReadFile(programs + "/sample-installer"),
            ReadFile(SourceFile("examples/sample-installer")));
  EXPECT_EQ(ModeOf(programs + "/sample-installer"), 0755U);
}

TEST(MakeMedia, WhatIsNotSaidHasADefaultAndTheLastWordCounts) {
  struct Row {
    Lines options;
    std::string what;
    std::string first;
  };
  const std::vector<Row> rows = {
      {{}, "tag SAMPLE-1, layout single, volumes: 1", "{media}"},
      {{"--volumes", "1"}, "tag SAMPLE-1, layout single, volumes: 1", "{media}"},
      {{"--volumes", "3"}, "tag SAMPLE-1, layout sibling, volumes: 3", "{media/1}"},
      {{"--layout", "single"}, "tag SAMPLE-1, layout single, volumes: 1", "{media}"},
      {{"--layout", "flat"}, "tag SAMPLE-1, layout flat, volumes: 2", "{media}"},
      {{"--tag", "A", "--tag", "--tag"}, "tag --tag, layout single, volumes: 1", "{media}"},
      {{"--tag", "--help", "--"}, "tag --help, layout single, volumes: 1", "{media}"},
      {{"--layout", "nothing", "--volumes", "x", "--volumes", "2", "--layout", "am"},
       "tag SAMPLE-1, layout am, volumes: 2",
       "{media/1/media/1}"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.options));
    const SampleWorld world;
    Lines arguments = {"--launcher", kLauncher};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    arguments.push_back("media");
    ExpectOutcome(world, world.MakeMedia(arguments), {0, SaysMade(row.what, row.first), ""});
  }
}

TEST(MakeMedia, UsesTheLauncherAndTheInstallerOfItsOwnCheckout) {
  const SampleWorld world;
  const std::string launcher =
      world.Directory().Write("a checkout/build/release/bin/kvl-launcher", "own launcher");
  const std::string examples = world.Directory().MakeDir("a checkout/examples");
  fs::copy(SourceFile("examples/make-media"), examples);
  world.Directory().Write("a checkout/examples/sample-installer", "own installer");
  const std::vector<ProgramStart> calls = {
      {{examples + "/make-media", world.Path("media 1")}},
      {{"a checkout/examples/make-media", "media 2"}, {}, world.Path(".")},
      {{"/bin/sh", "make-media", "../../media 3"}, {}, examples},
  };
  for (std::size_t i = 0; i < calls.size(); ++i) {
    ProgramStart call = calls[i];
    call.env = {{"PATH", "/usr/bin:/bin"}};
    EXPECT_EQ(RunProgram(call).status, 0);
    const std::string media = world.Path("media " + std::to_string(i + 1));
    EXPECT_EQ(ReadFile(media + "/inst/linux/code/bin/kvl-launcher"), "own launcher") << media;
    EXPECT_EQ(ReadFile(media + "/inst/linux/code/bin/sample-installer"), "own installer") << media;
  }
}

TEST(MakeMedia, FillsAnEmptyDirectoryAndMakesAMissingOneWithItsParents) {
  const SampleWorld world;
  world.Media({.directory = "plain", .launcher = kLauncher});
  world.Directory().MakeDir("empty");
  world.Directory().MakeDir("other");
  world.Directory().Link("link", "other");
  for (const char* directory : {"empty", "new/with/parents", "link", "slash/"}) {
    world.Media({.directory = directory, .launcher = kLauncher});
    EXPECT_EQ(DescribeTree(world.Path(directory)), DescribeTree(world.Path("plain"))) << directory;
  }
}

TEST(MakeMedia, WritesNothingElsewhereWhenCdpathIsSet) {
  for (const Layout& layout : kLayouts) {
    SCOPED_TRACE(layout.name);
    const SampleWorld world;
    for (const std::string& volume : layout.volumes) world.Directory().MakeDir("cd/" + volume);
    const Lines before = NamesIn(world.Path("cd"));
    const Outcome outcome =
        world.MakeMedia({"--layout", layout.name, "--tag", "T 1", "--launcher", kLauncher, "media"},
                        {{"CDPATH", "{cd}"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(NamesIn(world.Path("cd")), before);
    EXPECT_EQ(NamesIn(world.Path("media")), NamesOf(layout));
  }
}

TEST(MakeMedia, AnyNameWillDoAndTheCommandShownCanBePastedIntoAShell) {
  struct Row {
    std::string name, quoted;
  };
  const std::vector<Row> rows = {
      {"it's 'so'", "it'\\''s '\\''so'\\''"},
      {"line feed at the end\n", "line feed at the end\n"},
      {"--help", "--help"},
      {"-", "-"},
      {"$(touch x) `touch y` \"*\" \\", "$(touch x) `touch y` \"*\" \\"},
  };
  const SampleWorld world;
  world.MediaWithFakeLauncher("plain");
  const std::string report = world.Path("report");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Outcome made =
        world.MakeMedia({"--launcher", BuiltProgram("fake_installer"), "--", row.name});
    ExpectOutcome(world, made,
                  {0, SaysMade("tag SAMPLE-1, layout single, volumes: 1", "{}/" + row.quoted), ""});
    EXPECT_EQ(DescribeTree(world.Path(row.name)), DescribeTree(world.Path("plain")));

    const std::size_t command = made.out.find("Start it with: ") + 15;
    RunProgram({{"/bin/sh", "-c", made.out.substr(command)}, {{"FAKE_REPORT", report}}});
    EXPECT_EQ(ReadReport(report).env["CurrentMediaDir"], world.Path(row.name));
    fs::remove(report);
  }
}

TEST(MakeMedia, HelpIsAllThatACallWithHelpGives) {
  const std::string help =
      "Usage: make-media [OPTION]... DIR\n"
      "Writes a sample installation media into DIR, which must be empty or missing.\n"
      "\n"
      "  --layout LAYOUT   where the volumes lie (default: single for one volume, else sibling):\n"
      "                      single   one volume, DIR itself\n"
      "                      flat     all volumes together in DIR\n"
      "                      sibling  DIR/1, DIR/2, ...\n"
      "                      am       DIR/1/media/1, DIR/2/media/2, ... in an outer set of "
      "volumes\n"
      "  --volumes N       number of volumes, 1 to 999 (default: 1 for single, 2 for the other "
      "layouts)\n"
      "  --tag TEXT        text that marks volumes as belonging together (default: SAMPLE-1)\n"
      "  --launcher FILE   launcher to put on the media\n"
      "                      (default: build/release/bin/kvl-launcher of this checkout)\n"
      "  --help            print this text\n"
      "  --                what follows is DIR, even when it begins with \"-\"\n"
      "\n"
      "Exit status: 0 done, 1 the media could not be written, 2 bad call.\n";
  const SampleWorld world;
  for (const Lines& arguments : {Lines{"--help"}, Lines{"media", "--help", "--unknown"},
                                 Lines{"--layout", "nothing", "--help", "media"}}) {
    ExpectOutcome(world, world.MakeMedia(arguments), {0, help, ""});
    EXPECT_THAT(DescribeTree(world.Path("media")), IsEmpty());
  }
}

TEST(MakeMedia, HelpThatCannotBeShownIsNoReasonToWriteAMedia) {
  const SampleWorld world;
  const Outcome outcome = RunProgram(
      {{"/bin/sh", "-c", "exec \"$@\" >/dev/full", "sh", SourceFile("examples/make-media"),
        "--launcher", kLauncher, "--help", world.Path("media")},
       {{"PATH", "/usr/bin:/bin"}}});
  EXPECT_NE(outcome.status, 0);
  EXPECT_THAT(DescribeTree(world.Path("media")), IsEmpty());
}

}  // namespace
}  // namespace kvl::test
