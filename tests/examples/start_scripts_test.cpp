// The start scripts of a sample media: what they give to the launcher, however they are called.

#include "tests/conditions/own_mounts.h"
#include "tests/examples/sample_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// One call of a start script, by its words, from a directory. All texts as in MediaWorld.
struct Call {
  std::vector<std::string> command;
  std::string directory = "{}";
  Environment env = {};
};

/// What the launcher is given by that call.
ChildReport ReportOf(const SampleWorld& world, const Call& call) {
  fs::remove(world.Path("report"));
  std::vector<std::string> command;
  for (const std::string& word : call.command) command.push_back(world.Text(word));
  Environment env = world.Text(call.env);
  env.emplace("PATH", "/usr/bin:/bin");
  env.emplace("FAKE_REPORT", world.Path("report"));
  const Outcome outcome = RunProgram({command, env, world.Text(call.directory)});
  ExpectOutcome(world, outcome, {0, "", ""});
  return ReadReport(world.Path("report"));
}

/// A call, and the media directory that the script finds.
using Calls = std::vector<std::pair<Call, std::string>>;

void ExpectMediaDirectories(const SampleWorld& world, const Calls& calls) {
  for (const auto& [call, media] : calls) {
    SCOPED_TRACE(testing::PrintToString(call.command) + " in " + call.directory);
    ChildReport report = ReportOf(world, call);
    EXPECT_EQ(report.env["CurrentMediaDir"], world.Text(media));
    EXPECT_EQ(report.directory, world.Text(call.directory));
  }
}

const Environment kTmp = {{"TMPDIR", "{tmp}"}};
/// Of a media in {media} and of one of several volumes in {media/1}.
constexpr char kLauncher[] = "{media/inst/linux/code/bin/kvl-launcher}";
constexpr char kLauncherOfTwo[] = "{media/1/inst/linux/code/bin/kvl-launcher}";

TEST(StartScript, SetsFourVariablesAndChangesNoOther) {
  SampleWorld world;
  world.MediaWithFakeLauncher();
  const Environment given = {{"PATH", "/usr/bin:/bin"},
                             {"FAKE_REPORT", world.Path("report")},
                             {"KVL_OS", "another"},
                             {"CurrentMediaDir", "/another"}};
  for (const char* script : {"StartTUI.sh", "StartGUI.sh"}) {
    ChildReport report =
        ReportOf(world, {{std::string("{media}/") + script}, world.Path("tmp"), given});
    // These belong to the shell; not every shell sets them.
    for (const char* of_shell : {"PWD", "OLDPWD", "SHLVL", "_"}) report.env.erase(of_shell);
    EXPECT_EQ(EnvChanges(given, report.env),
              (Environment{{"CurrentMediaDir", world.Path("media")},
                           {"KVL_OS", "linux"},
                           {"KVL_Installer_EXE", "sample-installer"},
                           {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}}))
        << script;
  }
}

TEST(StartScript, FindsItsMediaHoweverItIsCalled) {
  SampleWorld world;
  world.MediaWithFakeLauncher("a blank/media");
  world.Directory().MakeDir("else where/a blank/media");
  const std::string media = "{a blank/media}";
  const Environment path = {{"PATH", media + ":/usr/bin:/bin"}};
  const Calls calls = {
      {{{media + "/StartTUI.sh"}}, media},
      {{{"a blank/media/StartTUI.sh"}}, media},
      {{{"/bin/sh", "StartTUI.sh"}, media}, media},
      {{{"/bin/sh", "a blank/media/StartTUI.sh"}}, media},
      {{{"/usr/bin/env", "StartTUI.sh"}, "{tmp}", path}, media},
      {{{"./a blank//media/./StartTUI.sh"}}, media},
      {{{"./StartTUI.sh"}, media}, media},
      {{{"media/StartTUI.sh"}, "{a blank}"}, media},
      {{{"../../a blank/media/StartTUI.sh"}, "{else where/a blank}"}, media},
  };
  ExpectMediaDirectories(world, calls);
}

TEST(StartScript, FindsItsMediaThroughSymbolicLinksToIt) {
  SampleWorld world;
  world.MediaWithFakeLauncher("a blank/media");
  world.MediaWithFakeLauncher("line feed\n");
  world.Directory().Link("links/absolute", world.Path("a blank/media/StartTUI.sh"));
  world.Directory().Link("links/relative", "../a blank/media/StartTUI.sh");
  world.Directory().Link("links/chain", "relative");
  world.Directory().Link("links/-dash", "absolute");
  world.Directory().Link("links/odd", "../line feed\n/StartTUI.sh");
  world.Directory().Link("hop\n", "a blank/media/StartTUI.sh");
  world.Directory().Link("links/odd chain", "../hop\n");
  const std::string media = "{a blank/media}";
  const Calls calls = {
      {{{"{links/absolute}"}}, media},   {{{"links/relative"}}, media},
      {{{"./chain"}, "{links}"}, media}, {{{"/bin/sh", "chain"}, "{links}"}, media},
      {{{"-dash"}, "{links}"}, media},   {{{"links/odd"}}, "{}/line feed\n"},
      {{{"links/odd chain"}}, media},
  };
  ExpectMediaDirectories(world, calls);
}

TEST(StartScript, ALinkedDirectoryKeepsItsNameButForDotDot) {
  SampleWorld world;
  world.MediaWithFakeLauncher("store/first");
  world.MediaWithFakeLauncher("store/media");
  world.Directory().Link("set/1", "../store/first");
  const Calls calls = {
      {{{"{set/1}/StartTUI.sh"}}, "{set/1}"},
      {{{"1/StartTUI.sh"}, "{set}"}, "{set/1}"},
      {{{"set/1/../media/StartTUI.sh"}}, "{store/media}"},
  };
  ExpectMediaDirectories(world, calls);
}

TEST(StartScript, FindsItsMediaWhateverTheNamesAndCdpathAre) {
  SampleWorld world;
  world.MediaWithFakeLauncher();
  std::string place = "media";
  for (const std::string name : {"-", "-L", "it's", "two\nlines", "$(touch x)*", "~"}) {
    SCOPED_TRACE(name);
    fs::rename(world.Path(std::exchange(place, name)), world.Path(name));
    world.Directory().MakeDir("elsewhere/" + name);
    const Environment cdpath = {{"CDPATH", "{elsewhere}"}};
    const Calls calls = {{{{"{}/" + name + "/StartTUI.sh"}}, "{}/" + name},
                         {{{name + "/StartTUI.sh"}, "{}", cdpath}, "{}/" + name}};
    ExpectMediaDirectories(world, calls);
  }
  EXPECT_FALSE(fs::exists(world.Path("x")));
}

TEST(StartScript, HandsEveryArgumentOnAsItIs) {
  SampleWorld world;
  world.MediaWithFakeLauncher();
  using Words = std::vector<std::string>;
  for (const Words& given : {Words{}, {"a b", "", "*", "\"", "'", "\\", "two\nlines\n", "-UI"}}) {
    for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
      Words command = {"{media}/" + script}, expected = {world.Text(kLauncher)};
      if (script == "StartGUI.sh") expected.push_back("-UI");
      command.insert(command.end(), given.begin(), given.end());
      expected.insert(expected.end(), given.begin(), given.end());
      EXPECT_EQ(ReportOf(world, {command}).arguments, expected);
    }
  }
}

TEST(StartScript, TheLauncherTakesItsPlaceAndEndsWithItsOwnStatus) {
  SampleWorld world;
  world.MediaWithFakeLauncher();
  const Outcome outcome = RunProgram({{world.Path("media/StartTUI.sh")},
                                      {{"PATH", "/usr/bin:/bin"},
                                       {"FAKE_REPORT", world.Path("report")},
                                       {"FAKE_PRINT", "said\n"},
                                       {"FAKE_EXIT", "9"}}});
  ExpectOutcome(world, outcome, {9, "said\n", ""});
  ChildReport report = ReadReport(world.Path("report"));
  EXPECT_EQ(report.facts["parent"], std::to_string(::getpid()));
}

/// A media of two volumes with the fake installer in place of the launcher, in {media/1}.
void TwoVolumesWithFakeLauncher(const SampleWorld& world) {
  world.Media({.volumes = 2, .launcher = BuiltProgram("fake_installer")});
}

/// What is started is as good as the launcher itself, and nothing is left of it.
TEST(StartScript, OfSeveralVolumesStartsACopyWithoutAName) {
  SampleWorld world;
  TwoVolumesWithFakeLauncher(world);
  for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
    SCOPED_TRACE(script);
    ChildReport report = ReportOf(world, {{"{media/1}/" + script, "a b", ""}, "{}", kTmp});
    std::vector<std::string> arguments = {"/proc/self/fd/3", "a b", ""};
    if (script == "StartGUI.sh") arguments.insert(arguments.begin() + 1, "-UI");
    EXPECT_EQ(report.arguments, arguments);
    EXPECT_EQ(report.facts["parent"], std::to_string(::getpid()));
    EXPECT_EQ(DescribeTree(world.Path("tmp")), std::vector<std::string>());
  }
}

/// Opens descriptors of the caller.
std::function<void()> Opening(const std::vector<int>& numbers) {
  return [numbers] {
    for (const int number : numbers) ::dup2(STDIN_FILENO, number);
  };
}

TEST(StartScript, TakesADescriptorForTheCopyThatTheCallerDoesNotUse) {
  const std::vector<std::pair<std::vector<int>, std::string>> rows = {
      {{3}, "/proc/self/fd/4"},
      {{3, 4, 6, 9}, "/proc/self/fd/5"},
      {{3, 4, 5, 6, 7, 8}, "/proc/self/fd/9"},
      {{3, 4, 5, 6, 7, 8, 9}, kLauncherOfTwo},
  };
  SampleWorld world;
  TwoVolumesWithFakeLauncher(world);
  for (const auto& [taken, launcher] : rows) {
    const Outcome outcome = world.Start(
        "media/1", {}, {.env = {{"FAKE_REPORT", "{report}"}}, .before = Opening(taken)});
    ExpectOutcome(world, outcome, {0, "", ""});
    EXPECT_THAT(ReadReport(world.Path("report")).arguments, ElementsAre(world.Text(launcher)));
    EXPECT_EQ(DescribeTree(world.Path("tmp")), std::vector<std::string>());
  }
}

/// A media of one or two volumes whose launcher is the real one and whose installer is that program,
/// its first volume in the directory returned.
std::string MediaWithInstaller(const SampleWorld& world, int volumes, const std::string& program) {
  world.Media({.volumes = volumes});
  const std::string first = volumes == 1 ? "media" : "media/1";
  const std::string installer = first + "/inst/linux/code/bin/sample-installer";
  world.Directory().Write(installer, ReadFile(program));
  SetMode(world.Path(installer), 0755);
  return first;
}

/// The shells of this machine, as words of a command.
std::vector<std::vector<std::string>> Shells() {
  std::vector<std::vector<std::string>> shells;
  for (const char* words : {"/bin/sh", "/bin/dash", "/bin/bash", "/bin/busybox sh", "/bin/ksh93",
                            "/bin/mksh", "/usr/bin/yash", "/bin/zsh"}) {
    std::istringstream stream(words);
    const std::vector<std::string> shell(std::istream_iterator<std::string>(stream), {});
    if (fs::exists(shell.front())) shells.push_back(shell);
  }
  return shells;
}

TEST(StartScript, LeavesTheCallersDescriptorsToTheInstallerAndNoOther) {
  for (const int volumes : {1, 2}) {
    SampleWorld world;
    const std::string first = MediaWithInstaller(world, volumes, BuiltProgram("fake_installer"));
    for (std::vector<std::string> command : Shells()) {
      command.push_back(world.Path(first) + "/StartTUI.sh");
      for (const std::vector<int>& opened :
           std::vector<std::vector<int>>{{}, {3}, {4, 63}, {3, 4, 5, 6, 7, 8}}) {
        SCOPED_TRACE(testing::PrintToString(command) + testing::PrintToString(opened));
        fs::remove(world.Path("report"));
        const Outcome outcome = RunProgram({.command = command,
                                            .env = {{"PATH", "/usr/bin:/bin"},
                                                    {"TMPDIR", world.Path("tmp")},
                                                    {"FAKE_REPORT", world.Path("report")}},
                                            .before = Opening(opened)});
        EXPECT_EQ(outcome.status, 0);
        std::string expected = "0 1 2 ";
        for (const int number : opened) expected += std::to_string(number) + " ";
        EXPECT_EQ(ReadReport(world.Path("report")).facts["descriptors"], expected);
      }
    }
  }
}

TEST(StartScript, LeavesAnArgumentThatAShellOpenedToTheInstaller) {
  const std::string bash = "/bin/bash";
  if (!fs::exists(bash)) GTEST_SKIP() << "no shell with process substitution";
  SampleWorld world;
  const std::string reader = world.Directory().Write("reader", "#!/bin/sh\ncat \"$4\"\n");
  for (const int volumes : {1, 2}) {
    const std::string first = MediaWithInstaller(world, volumes, reader);
    const Outcome outcome = RunProgram(
        {{bash, "-c", "\"$0\" --answers <(echo yes)", world.Path(first) + "/StartTUI.sh"},
         {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world.Path("tmp")}}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(LastLineOf(outcome.out), "yes");
    EXPECT_EQ(outcome.err, "");
    fs::remove_all(world.Path("media"));
  }
}

/// Every row makes a copy impossible, or needless.
TEST(StartScript, StartsTheLauncherOfTheMediaWhereItCannotBeCopied) {
  struct Row {
    std::string what;
    Environment env;
    std::function<void(const SampleWorld&)> change = [](const SampleWorld&) {};
  };
  const std::string number = "media/1/inst/volumes.txt";
  const auto remove = [&](const SampleWorld& world) { fs::remove(world.Path(number)); };
  const auto pipe = [&](const SampleWorld& world) {
    remove(world);
    world.Directory().Pipe(number);
  };
  const std::vector<Row> rows = {
      {"no temporary directory", {{"TMPDIR", "{missing}"}}},
      {"no programs", {{"TMPDIR", "{tmp}"}, {"PATH", "{tmp}"}}},
      {"no number of volumes", kTmp, remove},
      {"a pipe for the number of volumes", kTmp, pipe},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    SampleWorld world;
    TwoVolumesWithFakeLauncher(world);
    row.change(world);
    EXPECT_THAT(ReportOf(world, {{"{media/1}/StartTUI.sh", "x"}, "{}", row.env}).arguments,
                ElementsAre(world.Text(kLauncherOfTwo), "x"));
    EXPECT_EQ(DescribeTree(world.Path("tmp")), std::vector<std::string>());
  }
}

/// A single line of NUL bytes behind the number would take hours to read.
TEST(StartScript, ReadsTheNumberOfVolumesOnlyUpToABound) {
  struct Row {
    std::string what;
    std::function<void(const std::string& number)> make;
    bool is_copied = true;
  };
  const auto endless = [](const std::string& text) {
    return [text](const std::string& number) {
      std::ofstream(number) << text;
      fs::resize_file(number, std::uintmax_t{1} << 40);
    };
  };
  const std::vector<Row> rows = {
      {"no line end behind 2", endless("2")},
      {"no line end behind 1", endless("1"), false},
      {"a line end behind 1", endless("1\n"), false},
      {"another line", [](const std::string& number) { std::ofstream(number) << "1\n2\n"; }, false},
      {"1 with more behind", [](const std::string& number) { std::ofstream(number) << "10\n"; }},
      {"nothing", [](const std::string& number) { std::ofstream{number}; }},
      {"a file of the system without an end",
       [](const std::string& number) { fs::create_symlink("/proc/self/pagemap", number); }},
  };
  SampleWorld world;
  TwoVolumesWithFakeLauncher(world);
  const std::string number = world.Path("media/1/inst/volumes.txt");
  for (const Row& row : rows) {
    fs::remove(number);
    row.make(number);
    for (const std::vector<std::string>& shell : Shells()) {
      SCOPED_TRACE(row.what + testing::PrintToString(shell));
      std::vector<std::string> command = {"/usr/bin/timeout", "-s", "KILL", "20"};
      command.insert(command.end(), shell.begin(), shell.end());
      command.push_back("{media/1}/StartTUI.sh");
      EXPECT_THAT(ReportOf(world, {command, "{}", kTmp}).arguments,
                  ElementsAre(row.is_copied ? "/proc/self/fd/3" : world.Text(kLauncherOfTwo)));
      EXPECT_EQ(DescribeTree(world.Path("tmp")), std::vector<std::string>());
    }
  }
}

TEST(StartScript, StartsTheLauncherOfTheMediaWhereACopyIsOfNoUse) {
  if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  SampleWorld world;
  TwoVolumesWithFakeLauncher(world);
  RunWithOwnMounts([&] {
    for (const auto& [options, flags] : {std::pair("size=8k", 0UL), {"size=8m", MS_NOEXEC}}) {
      SCOPED_TRACE(options);
      const MemoryMount mount(world.Path("tmp"), std::string(options) + ",mode=1777", flags);
      EXPECT_THAT(ReportOf(world, {{"{media/1}/StartTUI.sh", "x"}, "{}", kTmp}).arguments,
                  ElementsAre(world.Text(kLauncherOfTwo), "x"));
      EXPECT_EQ(DescribeTree(world.Path("tmp")), std::vector<std::string>());
    }
  });
}

TEST(StartScript, WithoutALauncherSaysSoAndEndsWithStatusOne) {
  SampleWorld world;
  world.MediaWithFakeLauncher("a media");
  const fs::path launcher = world.Path("a media/inst/linux/code/bin/kvl-launcher");
  const std::vector<std::function<void()>> damages = {
      [&] { SetMode(launcher, 0644); },
      [&] { fs::remove(launcher); },
      [&] { fs::create_directory(launcher); },
      [&] { fs::remove_all(launcher.parent_path()); },
  };
  for (const auto& damage : damages) {
    damage();
    for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
      const Outcome outcome = RunProgram({{world.Path("a media/") + script, "--target", "x"},
                                          {{"PATH", "/usr/bin:/bin"}},
                                          world.Path(".")});
      ExpectOutcome(world, outcome,
                    {1, "",
                     script + ": the launcher is missing or cannot be executed: "
                              "{a media/inst/linux/code/bin/kvl-launcher}\n"});
    }
  }
  EXPECT_FALSE(fs::exists(world.Path("x")));
}

}  // namespace
}  // namespace kvl::test
