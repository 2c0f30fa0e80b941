// Whole runs with the most and the least room that the system gives a program for its arguments and
// its environment.

#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

/// The length of the longest text, with its NUL byte, that the system passes in one argument or
/// variable.
std::size_t LongestText() {
  return 32 * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// Gives the texts as much room as they usually have: a quarter of the stack. Returns false if that
/// is not allowed.
bool SetStack() {
  rlimit limit;
  ::getrlimit(RLIMIT_STACK, &limit);
  limit.rlim_cur = 8 * 1024 * 1024;
  return ::setrlimit(RLIMIT_STACK, &limit) == 0;
}

/// Compares everything. After a failure, shows only the beginning of very long arguments and
/// messages.
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

TEST(Environment, OfAHundredThousandVariablesReachesTheInstaller) {
  if (RunIsolated([] { return SetStack() ? 0 : 1; }).status != 0) {
    GTEST_SKIP() << "the stack may not become as large as it usually is";
  }
  constexpr int kVariables = 100'000;
  LaunchPlan plan = {.env = {{"FAKE_EXIT", "7"}}, .before = SetStack};
  for (int i = 0; i < kVariables; ++i) plan.env["v" + std::to_string(i)] = "";
  LaunchWorld world;
  const LaunchSeen seen = world.VolumeMissing().Expect(Staged().Ends(7), plan);
  EXPECT_GT(seen.child.env.size(), std::size_t{kVariables});
}

const std::vector<std::string> kUsualVariables = {"CurrentMediaDir",   "KVL_OS", "TMPDIR",
                                                  "KVL_Installer_EXE", "PATH",   "FAKE_REPORT"};

/// With arguments, and even without a program name; some systems then insert an empty one.
TEST(Environment, WithoutAnyVariableFindsNoInstaller) {
  LaunchWorld world;
  world.VolumeMissing();
  const std::string launcher = BuiltProgram("kvl-launcher");
  const std::function<void()> start_without_arguments = [&] {
    char* nothing[] = {nullptr};
    ::execve(launcher.c_str(), nothing, nothing);
  };
  for (const std::function<void()>& before : {std::function<void()>(), start_without_arguments}) {
    world.Expect({.status = 1,
                  .out = says::NoneInCurrentMedia("/inst/code/bin"),
                  .err = says::NoInstaller()},
                 {.without = kUsualVariables, .before = before});
  }
}

TEST(Environment, WithoutAnyVariableIsFilledByOptions) {
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
  ExpectedRun expected = Staged().Ends(7).Sets(options);
  for (std::string* text : {&expected.out, &expected.arguments[0]}) {
    *text = Replaced(*text, "/installer", "/KVLInsAppliODT.exe");
  }
  world.Expect(expected, plan);
}

/// The quotes in two arguments turn them into one: first as long as the system allows, then one
/// byte longer.
TEST(Arguments, ThatBecomeLongerThanTheSystemAllowsEndWith255) {
  const std::string first(LongestText() / 2, 'x');
  for (const std::size_t too_long : {0U, 1U}) {
    const std::string second(LongestText() - (first + " ").size() - 1 + too_long, 'y');
    LaunchWorld world;
    world.OneVolume();
    // "xxx"" "yyy""  - the second pair of quotes encloses the blank, and the last pair nothing.
    const std::vector<std::string> arguments = {first + "\"", second + "\""};
    ExpectLongRun(world, world.Run({.arguments = arguments}),
                  too_long == 0 ? InPlace().Passes({first + " " + second})
                                : NotStarted(InPlace().Passes(arguments)));
  }
}

/// The search path grows by the media's path, and its backup by a name and a mark.
TEST(Environment, ThatGrowsBeyondWhatIsAllowedEndsWith255) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& run) {
    const bool staged = !run.left.media.empty();
    const std::string media = staged ? "tmp/" + std::string(36, 'I') : "1";
    const std::size_t grows =
        std::max(("PATH=" + world.Path(media + "/inst/linux/code/bin:")).size(),
                 std::string("KVL_BAK_PATH=KVL_BAK=").size());
    const std::string longest = "/" + std::string(LongestText() - 1 - grows - 1, 'x');
    ExpectLongRun(world, world.Run({.env = {{"PATH", longest}}}), run);
    world.EmptyTmp();
    ExpectLongRun(world, world.Run({.env = {{"PATH", longest + "x"}}}), NotStarted(run));
  });
}

}  // namespace
}  // namespace kvl::test
