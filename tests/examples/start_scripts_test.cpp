// The start scripts of a sample media: how they find the media and start the launcher.

#include "tests/conditions/own_mounts.h"
#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

using Words = std::vector<std::string>;

Words Joined(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

/// A call of a start script. All texts are as in MediaWorld.
struct Call {
  Words command;
  std::string directory = "{}";
  Environment env = {};
  std::vector<int> opened = {};  ///< further descriptors of the caller
};

/// The launcher of a media in {media}, and that of several volumes with the first in {media/1}.
constexpr char kLauncher[] = "{media/inst/linux/code/bin/kvl-launcher}";
constexpr char kLauncherOfTwo[] = "{media/1/inst/linux/code/bin/kvl-launcher}";

class StartScript : public testing::Test, protected SampleWorld {
 protected:
  /// Makes a media with the fake installer in place of the launcher, which reports how it was
  /// started.
  void MediaWithFakeLauncher(const std::string& directory = "media", int volumes = 1) const {
    Media({.volumes = volumes, .directory = directory, .launcher = BuiltProgram("fake_installer")});
  }

  /// Runs the call, expects this outcome and an empty {tmp}, and returns the report of the fake
  /// installer.
  ChildReport ReportOf(const Call& call, const Outcome& expected = {}) const {
    fs::remove(Path("report"));
    Words command;
    for (const std::string& word : call.command) command.push_back(Text(word));
    Environment env = Text(call.env);
    env.insert(
        {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", Path("tmp")}, {"FAKE_REPORT", Path("report")}});
    const auto open = [&] {
      for (const int number : call.opened) ::dup2(STDIN_FILENO, number);
    };
    ExpectOutcome(RunProgram({command, env, Text(call.directory), {}, open}), expected);
    EXPECT_THAT(DescribeTree(Path("tmp")), IsEmpty());
    return ReadReport(Path("report"));
  }

  /// Expects that both scripts in that directory become this launcher, in the same process. The
  /// words of the call are the arguments behind those that the script adds.
  void ExpectLauncher(const std::string& launcher, const std::string& directory, Call call) const {
    const Words given = call.command;
    for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
      SCOPED_TRACE(script + testing::PrintToString(given) + testing::PrintToString(call.opened));
      call.command = Joined({directory + "/" + script}, given);
      ChildReport report = ReportOf(call);
      const Words added = script == "StartGUI.sh" ? Words{"-UI"} : Words();
      EXPECT_EQ(report.arguments, Joined(Joined({Text(launcher)}, added), given));
      EXPECT_EQ(report.facts["parent"], std::to_string(::getpid()));
    }
  }

  /// Expects which media directory the script finds in each call.
  void ExpectMediaDirectories(const std::vector<std::pair<Call, std::string>>& calls) const {
    for (const auto& [call, media] : calls) {
      SCOPED_TRACE(testing::PrintToString(call.command) + " in " + call.directory);
      ChildReport report = ReportOf(call);
      EXPECT_EQ(report.env["CurrentMediaDir"], Text(media));
      EXPECT_EQ(report.directory, Text(call.directory));
    }
  }
};

TEST_F(StartScript, SetsFourVariablesAndChangesNoOther) {
  MediaWithFakeLauncher();
  const Environment given = {{"PATH", "/usr/bin:/bin"},
                             {"TMPDIR", Path("tmp")},
                             {"FAKE_REPORT", Path("report")},
                             {"KVL_OS", "another"},
                             {"CurrentMediaDir", "/another"}};
  for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
    ChildReport report = ReportOf({{"{media}/" + script}, "{tmp}", given});
    // These belong to the shell; not every shell sets them.
    for (const char* of_shell : {"PWD", "OLDPWD", "SHLVL", "LOGNAME", "_"})
      report.env.erase(of_shell);
    EXPECT_EQ(EnvChanges(given, report.env),
              (Environment{{"CurrentMediaDir", Path("media")},
                           {"KVL_OS", "linux"},
                           {"KVL_Installer_EXE", "sample-installer"},
                           {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}}))
        << script;
  }
}

TEST_F(StartScript, FindsItsMediaHoweverItIsCalled) {
  MediaWithFakeLauncher("a blank/media");
  Directory().MakeDir("else where/a blank/media");
  const std::string media = "{a blank/media}";
  ExpectMediaDirectories({
      {{{media + "/StartTUI.sh"}}, media},
      {{{"a blank/media/StartTUI.sh"}}, media},
      {{{"/bin/sh", "StartTUI.sh"}, media}, media},
      {{{"/bin/sh", "a blank/media/StartTUI.sh"}}, media},
      {{{"/usr/bin/env", "StartTUI.sh"}, "{tmp}", {{"PATH", media + ":/usr/bin:/bin"}}}, media},
      {{{"./a blank//media/./StartTUI.sh"}}, media},
      {{{"./StartTUI.sh"}, media}, media},
      {{{"media/StartTUI.sh"}, "{a blank}"}, media},
      {{{"../../a blank/media/StartTUI.sh"}, "{else where/a blank}"}, media},
  });
}

TEST_F(StartScript, FindsItsMediaThroughSymbolicLinksToIt) {
  MediaWithFakeLauncher("a blank/media");
  MediaWithFakeLauncher("line feed\n");
  for (const auto& [link, target] : {std::pair("links/absolute", "{a blank/media/StartTUI.sh}"),
                                     {"links/relative", "../a blank/media/StartTUI.sh"},
                                     {"links/chain", "relative"},
                                     {"links/-dash", "absolute"},
                                     {"links/odd", "../line feed\n/StartTUI.sh"},
                                     {"hop\n", "a blank/media/StartTUI.sh"},
                                     {"links/odd chain", "../hop\n"}}) {
    Directory().Link(link, Text(target));
  }
  const std::string media = "{a blank/media}";
  ExpectMediaDirectories({
      {{{"{links/absolute}"}}, media},
      {{{"links/relative"}}, media},
      {{{"./chain"}, "{links}"}, media},
      {{{"/bin/sh", "chain"}, "{links}"}, media},
      {{{"-dash"}, "{links}"}, media},
      {{{"links/odd"}}, "{}/line feed\n"},
      {{{"links/odd chain"}}, media},
  });
}

TEST_F(StartScript, KeepsTheNameOfALinkedDirectoryUnlessDotDotFollows) {
  MediaWithFakeLauncher("store/first");
  MediaWithFakeLauncher("store/media");
  Directory().Link("set/1", "../store/first");
  Directory().Link("links/up", "../set/1/../media/StartTUI.sh");
  ExpectMediaDirectories({
      {{{"{set/1}/StartTUI.sh"}}, "{set/1}"},
      {{{"1/StartTUI.sh"}, "{set}"}, "{set/1}"},
      {{{"set/1/../media/StartTUI.sh"}}, "{store/media}"},
      {{{"links/up"}}, "{store/media}"},
  });
}

TEST_F(StartScript, FindsItsMediaDespiteOddNamesAndCdpath) {
  MediaWithFakeLauncher();
  std::string place = "media";
  for (const std::string name : {"-", "-L", "it's", "two\nlines", "$(touch x)*", "~"}) {
    fs::rename(Path(std::exchange(place, name)), Path(name));
    Directory().MakeDir("elsewhere/" + name);
    ExpectMediaDirectories({
        {{{"{}/" + name + "/StartTUI.sh"}}, "{}/" + name},
        {{{name + "/StartTUI.sh"}, "{}", {{"CDPATH", "{elsewhere}"}}}, "{}/" + name},
    });
  }
  EXPECT_FALSE(fs::exists(Path("x")));
}

TEST_F(StartScript, PassesEveryArgumentOnUnchanged) {
  MediaWithFakeLauncher();
  for (const Words& given : {Words{}, {"a b", "", "*", "\"", "'", "\\", "two\nlines\n", "-UI"}}) {
    ExpectLauncher(kLauncher, "{media}", {given});
  }
}

TEST_F(StartScript, BecomesTheLauncherAndEndsWithItsStatus) {
  MediaWithFakeLauncher();
  const Call call = {{"{media}/StartTUI.sh"}, "{}", {{"FAKE_PRINT", "said\n"}, {"FAKE_EXIT", "9"}}};
  EXPECT_EQ(ReportOf(call, {9, "said\n"}).facts["parent"], std::to_string(::getpid()));
}

TEST_F(StartScript, BecomesACopyOfTheLauncherForSeveralVolumes) {
  MediaWithFakeLauncher("media", 2);
  const std::vector<std::pair<std::vector<int>, std::string>> rows = {
      {{}, "/proc/self/fd/3"},
      {{3}, "/proc/self/fd/4"},
      {{3, 4, 6, 9}, "/proc/self/fd/5"},
      {{3, 4, 5, 6, 7}, "/proc/self/fd/8"},
      {{3, 4, 5, 6, 7, 8}, "/proc/self/fd/9"},
      {{3, 4, 5, 6, 7, 8, 9}, kLauncherOfTwo},
  };
  for (const auto& [opened, launcher] : rows) {
    ExpectLauncher(launcher, "{media/1}", {.command = {"a b", ""}, .opened = opened});
  }
}

/// Returns the shells of this machine, each as the words of a command.
std::vector<Words> Shells() {
  std::vector<Words> shells = {{"/bin/sh"},       {"/bin/dash"}, {"/bin/bash"},
                               {"/bin/ksh93"},    {"/bin/mksh"}, {"/bin/busybox", "sh"},
                               {"/usr/bin/yash"}, {"/bin/zsh"}};
  std::erase_if(shells, [](const Words& shell) { return !fs::exists(shell.front()); });
  return shells;
}

/// Starts the real launcher with another program as the installer.
class StartedInstaller : public StartScript, public testing::WithParamInterface<int> {
 protected:
  void MakeMedia(const std::string& program) {
    Media({.volumes = GetParam()});
    const std::string installer = first_ + "/inst/linux/code/bin/sample-installer";
    SetMode(Directory().Write(installer, ReadFile(program)), 0755);
    said_ = FindsInstallerIn(first_);
    if (GetParam() == 2) said_ += says::Volumes("2", {"{media/1}", "{media/2}"});
  }

  const std::string first_ = GetParam() == 1 ? "media" : "media/1";
  const std::string script_ = "{" + first_ + "}/StartTUI.sh";
  std::string said_;
};

INSTANTIATE_TEST_SUITE_P(OfVolumes, StartedInstaller, testing::Values(1, 2));

TEST_P(StartedInstaller, HasTheDescriptorsOfTheCallerOnly) {
  MakeMedia(BuiltProgram("fake_installer"));
  for (const Words& shell : Shells()) {
    for (const std::vector<int>& opened :
         std::vector<std::vector<int>>{{}, {3}, {4, 63}, {3, 4, 5, 6, 7, 8}}) {
      SCOPED_TRACE(testing::PrintToString(shell) + testing::PrintToString(opened));
      std::string expected = "0 1 2 ";
      for (const int number : opened) expected += std::to_string(number) + " ";
      const Call call = {.command = Joined(shell, {script_}), .opened = opened};
      EXPECT_EQ(ReportOf(call, {0, said_}).facts["descriptors"], expected);
    }
  }
}

TEST_P(StartedInstaller, CanReadAnArgumentThatAShellOpened) {
  const std::string bash = "/bin/bash";
  if (!fs::exists(bash)) GTEST_SKIP() << "no shell with process substitution";
  MakeMedia(Directory().Write("reader", "#!/bin/sh\ncat \"$4\"\n"));
  ReportOf({{bash, "-c", "\"$0\" --answers <(echo yes)", script_}}, {0, said_ + "yes\n"});
}

TEST_F(StartScript, BecomesTheLauncherItselfIfItCannotMakeACopy) {
  MediaWithFakeLauncher("media", 2);
  const std::string number = "media/1/inst/volumes.txt";
  const auto expect_original = [&](const Environment& env) {
    ExpectLauncher(kLauncherOfTwo, "{media/1}", {{"x"}, "{}", env});
  };
  expect_original({{"TMPDIR", "{missing}"}});
  expect_original({{"PATH", "{tmp}"}});
  fs::remove(Path(number));
  expect_original({});
  Directory().Pipe(number);
  expect_original({});
}

/// A shell would need hours to read an endless line of NUL bytes behind the number.
TEST_F(StartScript, ReadsTheNumberOfVolumesOnlyUpToALimit) {
  struct Row {
    std::string what, text;
    bool is_endless = false, is_copied = true;
  };
  const std::vector<Row> rows = {
      {.what = "no line end behind 2", .text = "2", .is_endless = true},
      {.what = "no line end behind 1", .text = "1", .is_endless = true, .is_copied = false},
      {.what = "a line end behind 1", .text = "1\n", .is_endless = true, .is_copied = false},
      {.what = "another line", .text = "1\n2\n", .is_copied = false},
      {.what = "1 with more behind", .text = "10\n"},
      {.what = "nothing", .text = ""},
      {.what = "a file of the system without an end", .text = "/proc/self/pagemap"},
  };
  MediaWithFakeLauncher("media", 2);
  const std::string number = "media/1/inst/volumes.txt";
  for (const Row& row : rows) {
    fs::remove(Path(number));
    row.text[0] == '/' ? Directory().Link(number, row.text) : Directory().Write(number, row.text);
    if (row.is_endless) fs::resize_file(Path(number), std::uintmax_t{1} << 40);
    for (const Words& shell : Shells()) {
      SCOPED_TRACE(row.what + testing::PrintToString(shell));
      const Words timeout = Joined({"/usr/bin/timeout", "-s", "KILL", "20"}, shell);
      EXPECT_THAT(ReportOf({Joined(timeout, {"{media/1}/StartTUI.sh"})}).arguments,
                  ElementsAre(row.is_copied ? "/proc/self/fd/3" : Text(kLauncherOfTwo)));
    }
  }
}

TEST_F(StartScript, BecomesTheLauncherItselfIfACopyIsOfNoUse) {
  if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  MediaWithFakeLauncher("media", 2);
  RunWithOwnMounts([&] {
    for (const auto& [options, flags] : {std::pair("size=8k", 0UL), {"size=8m", MS_NOEXEC}}) {
      SCOPED_TRACE(options);
      const MemoryMount mount(Path("tmp"), std::string(options) + ",mode=1777", flags);
      ExpectLauncher(kLauncherOfTwo, "{media/1}", {{"x"}});
    }
  });
}

TEST_F(StartScript, EndsWithStatusOneIfTheLauncherIsMissing) {
  MediaWithFakeLauncher("a media");
  const fs::path launcher = Path("a media/inst/linux/code/bin/kvl-launcher");
  const std::vector<std::function<void()>> damages = {
      [&] { SetMode(launcher, 0644); },
      [&] { fs::remove(launcher); },
      [&] { fs::create_directory(launcher); },
      [&] { fs::remove_all(launcher.parent_path()); },
  };
  for (const auto& damage : damages) {
    damage();
    for (const std::string script : {"StartTUI.sh", "StartGUI.sh"}) {
      ReportOf({{"{a media}/" + script, "--target", "x"}},
               {1, "",
                script + ": the launcher is missing or cannot be executed: " + launcher.string() +
                    "\n"});
    }
  }
  EXPECT_FALSE(fs::exists(Path("x")));
}

}  // namespace
}  // namespace kvl::test
