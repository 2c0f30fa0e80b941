// Whole runs with as much, and as little, as the system lets a program have for its arguments and its
// environment.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The longest text, with its end, that the system passes on in one argument or variable.
std::size_t LongestText() {
  return 32 * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// A quarter of the stack is what all of them may take together.
constexpr rlim_t kStack = 8 * 1024 * 1024;
constexpr std::size_t kAllTexts = kStack / 4;

void SetStack() {
  rlimit limit;
  ::getrlimit(RLIMIT_STACK, &limit);
  limit.rlim_cur = kStack;
  ::setrlimit(RLIMIT_STACK, &limit);
}

bool StackMayBeSet() {
  rlimit limit;
  return ::getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_max >= kStack;
}

/// A run whose installer the system would not start.
ExpectedRun NotStarted(ExpectedRun expected) {
  expected.status = 255;
  expected.err += SaysCannotWait(CommandOf(expected.arguments));
  expected.arguments = {};
  return expected;
}

/// Compares everything. Of arguments and messages that nobody could read in a failure, only the
/// beginning is shown.
void ExpectLongRun(const LaunchWorld& world, LaunchSeen seen, ExpectedRun expected) {
  constexpr std::size_t kUsual = 3, kReadable = 300;
  std::vector<std::string> arguments;
  for (const std::string& argument : expected.arguments) arguments.push_back(world.Text(argument));
  EXPECT_TRUE(seen.child.arguments == arguments) << "not the arguments that were expected";
  EXPECT_TRUE(seen.err == world.Text(expected.err)) << seen.err.substr(0, kReadable);
  if (!expected.arguments.empty()) expected.arguments.resize(kUsual);
  if (seen.child.started) seen.child.arguments.resize(kUsual);
  seen.err = expected.err = "";
  ExpectRun(world, seen, expected);
}

TEST(Environment, OfAHundredThousandVariablesReachesTheInstallerWhole) {
  if (!StackMayBeSet()) GTEST_SKIP() << "the stack may not become as large as it usually is";
  constexpr int kVariables = 100'000;
  LaunchPlan plan = {.env = {{"FAKE_EXIT", "7"}}, .before = SetStack};
  for (int i = 0; i < kVariables; ++i) plan.env["v" + std::to_string(i)] = "";
  LaunchWorld world;
  world.VolumeMissing();
  const LaunchSeen seen = world.Run(plan);
  ExpectedRun expected = Staged();
  expected.status = 7;
  ExpectRun(world, seen, expected);
  EXPECT_GT(seen.child.env.size(), std::size_t{kVariables});
}

const std::vector<std::string> kUsualVariables = {"CurrentMediaDir",   "KVL_OS", "TMPDIR",
                                                  "KVL_Installer_EXE", "PATH",   "FAKE_REPORT"};

TEST(Environment, OfNothingAtAllFindsNoInstaller) {
  LaunchWorld world;
  world.VolumeMissing();
  ExpectRun(world, world.Run({.without = kUsualVariables}),
            {.status = 1,
             .out = " INFO: /inst/code/bin\n INFO: No installer in the current media.\n",
             .err = "ERROR: The installer is not found, please read the file "
                    "\"ReadMe_UNIX.txt\".\n"});
}

TEST(Environment, OfNothingAtAllIsFilledByOptions) {
  const Environment options = {{"CurrentMediaDir", "{1}"},
                               {"FAKE_EXIT", "7"},
                               {"FAKE_REPORT", "{report}"},
                               {"KVL_OS", "linux"},
                               {"TMPDIR", "{tmp}"}};
  LaunchPlan plan = {.without = kUsualVariables};
  for (const auto& [name, value] : options) {
    plan.arguments.insert(plan.arguments.end(), {"-env", name + "=" + value});
  }
  plan.arguments.push_back("--odt");
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("1").Installer("linux", "KVLInsAppliODT.exe");
  ExpectedRun expected = Staged();
  expected.status = 7;
  for (std::string* text : {&expected.out, &expected.arguments[0]}) {
    for (std::size_t at; (at = text->find("/installer")) != std::string::npos;) {
      text->replace(at, std::string("/installer").size(), "/KVLInsAppliODT.exe");
    }
  }
  expected.env.options = options;
  ExpectRun(world, world.Run(plan), expected);
}

/// Not even a name of its own, which some systems then put in as an empty one.
TEST(Environment, AndArgumentsMayBothBeMissing) {
  LaunchWorld world;
  world.VolumeMissing();
  const std::string launcher = BuiltProgram("kvl-launcher");
  const LaunchSeen seen = world.Run({.before = [&] {
    char* nothing[] = {nullptr};
    ::execve(launcher.c_str(), nothing, nothing);
  }});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, " INFO: /inst/code/bin\n INFO: No installer in the current media.\n");
  EXPECT_EQ(seen.err,
            "ERROR: The installer is not found, please read the file \"ReadMe_UNIX.txt\".\n");
}

TEST(Arguments, AsLongAsTheSystemAllowsReachTheInstaller) {
  const std::string longest(LongestText() - 1, 'x');
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    ExpectedRun expected = staged ? Staged() : InPlace();
    expected.arguments.insert(expected.arguments.end(), {longest, "and", longest});
    ExpectLongRun(world, world.Run({.arguments = {longest, "and", longest}}), expected);
  }
}

/// Two arguments become one by the quotes in them, and that one is too long by a byte.
TEST(Arguments, ThatBecomeLongerThanTheSystemAllowsEndWith255) {
  for (const std::size_t too_long : {0U, 1U}) {
    const std::string first(LongestText() / 2, 'x');
    const std::string second(LongestText() - first.size() - std::string(" ").size() - 1 + too_long,
                             'y');
    LaunchWorld world;
    world.OneVolume();
    // "xxx"" "yyy""  - the second pair of quotes holds the blank, and the last one nothing.
    const std::vector<std::string> arguments = {first + "\"", second + "\""};
    ExpectedRun expected = InPlace();
    if (too_long == 0) {
      expected.arguments.push_back(first + " " + second);
    } else {
      expected.arguments.insert(expected.arguments.end(), arguments.begin(), arguments.end());
      expected = NotStarted(expected);
    }
    ExpectLongRun(world, world.Run({.arguments = arguments}), expected);
  }
}

/// The search path grows by that of the media, and its backup by a name and a mark.
TEST(Environment, WithAVariableThatGrowsBeyondWhatTheSystemAllowsEndsWith255) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    const std::string media = staged ? "tmp/" + std::string(36, 'I') : "1";
    const std::size_t grows =
        std::max(("PATH=" + world.Path(media + "/inst/linux/code/bin:")).size(),
                 std::string("KVL_BAK_PATH=KVL_BAK=").size());
    const std::size_t longest = LongestText() - 1 - grows;
    for (const std::size_t too_long : {0U, 1U}) {
      world.EmptyTmp();
      const std::string path = "/" + std::string(longest - 1 + too_long, 'x');
      ExpectedRun expected = staged ? Staged() : InPlace();
      if (too_long != 0) expected = NotStarted(expected);
      ExpectLongRun(world, world.Run({.env = {{"PATH", path}}}), expected);
    }
  }
}

/// Everything that the system counts of a program's start.
std::size_t RoomFor(const std::vector<std::string>& arguments, const Environment& env,
                    const std::string& program) {
  std::size_t room = program.size() + 1;
  for (const std::string& argument : arguments) room += argument.size() + 1 + sizeof(char*);
  for (const auto& [name, value] : env) room += name.size() + value.size() + 2 + sizeof(char*);
  return room;
}

/// The launcher itself is started with less than the installer is to get, so its own start tells
/// nothing.
TEST(Arguments, ThatLeaveNoRoomForTheInstallersEndWith255) {
  if (!StackMayBeSet()) GTEST_SKIP() << "the stack may not become as large as it usually is";
  constexpr std::size_t kMargin = 512, kPiece = 100'000;
  LaunchWorld world;
  world.OneVolume();
  const LaunchSeen without = world.Run({.before = SetStack});
  ASSERT_TRUE(without.child.started);
  const std::size_t taken =
      RoomFor(without.child.arguments, without.child.env, without.child.arguments[0]);
  const std::size_t pieces = (kAllTexts - taken) / (kPiece + 1 + sizeof(char*));
  const std::size_t left =
      kAllTexts - taken - pieces * (kPiece + 1 + sizeof(char*)) - 1 - sizeof(char*);
  for (const bool fits : {true, false}) {
    std::vector<std::string> arguments(pieces, std::string(kPiece, 'x'));
    arguments.emplace_back(fits ? left - kMargin : left + kMargin, 'y');
    const std::string launcher = BuiltProgram("kvl-launcher");
    ASSERT_LT(RoomFor(arguments, without.given, launcher) + launcher.size(), kAllTexts - kMargin);
    ExpectedRun expected = InPlace();
    expected.arguments.insert(expected.arguments.end(), arguments.begin(), arguments.end());
    if (!fits) expected = NotStarted(expected);
    ExpectLongRun(world, world.Run({.arguments = arguments, .before = SetStack}), expected);
  }
}

}  // namespace
}  // namespace kvl::test
