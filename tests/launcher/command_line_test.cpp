#include "launcher/launcher.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

using Arguments = std::vector<const char*>;

/// Constructs a Launcher with the arguments that main gets: first the program's name, last a null
/// pointer.
Launcher LauncherWith(Arguments arguments) {
  arguments.insert(arguments.begin(), "kvl-launcher");
  arguments.push_back(nullptr);
  return Launcher(static_cast<int>(arguments.size()) - 1, arguments.data(), "installer", kWithoutUI,
                  kWithoutWaiting);
}

/// Returns every field by its name.
Environment FieldsOf(const Launcher& launcher) {
  const auto flag = [](bool value) { return value ? "true" : "false"; };
  std::string passed_on;
  for (const std::string& text : launcher.PassThroughArgs) passed_on += "[" + text + "]";
  return {{"WaitFlag", flag(launcher.WaitFlag)},
          {"UIFlag", flag(launcher.UIFlag)},
          {"InteractiveSession", flag(launcher.InteractiveSession)},
          {"PassThroughArgs", passed_on},
          {"InstallerPathArg", launcher.InstallerPathArg},
          {"SoftMgt", flag(launcher.SoftMgt)},
          {"SoftMgtReadOnly", flag(launcher.SoftMgtReadOnly)},
          {"ManagementMode", flag(launcher.ManagementMode)},
          {"InstallerCopied", flag(launcher.InstallerCopied)},
          {"Uninstall", flag(launcher.Uninstall)},
          {"SoftMgtAction", launcher.SoftMgtAction},
          {"MediaDir", launcher.MediaDir.Str()},
          {"CommonDirPrefix", launcher.CommonDirPrefix},
          {"InstallerExeName", launcher.InstallerExeName},
          {"InstallerPath", launcher.InstallerPath},
          {"OsName", launcher.OsName}};
}

const Environment kGiven = {
    {"CurrentMediaDir", "/m"}, {"KVL_OS", "not read yet"}, {"old", "value"}};

/// Expects every field to have its default, except those in `different`.
void ExpectFields(const Launcher& launcher, const Environment& different) {
  Environment fields = {{"WaitFlag", "false"},          {"UIFlag", "false"},
                        {"InteractiveSession", "true"}, {"PassThroughArgs", ""},
                        {"InstallerPathArg", ""},       {"SoftMgt", "false"},
                        {"SoftMgtReadOnly", "false"},   {"ManagementMode", "false"},
                        {"InstallerCopied", "false"},   {"Uninstall", "false"},
                        {"SoftMgtAction", ""},          {"MediaDir", "/m"},
                        {"CommonDirPrefix", ""},        {"InstallerExeName", "installer"},
                        {"InstallerPath", ""},          {"OsName", ""}};
  for (const auto& [name, value] : different) fields[name] = value;
  EXPECT_EQ(FieldsOf(launcher), fields);
}

/// Reads the arguments, and compares the fields and variables that they set.
void ExpectSets(const Arguments& arguments, const Environment& fields,
                const Environment& variables = {}) {
  SCOPED_TRACE(testing::PrintToString(arguments));
  const ScopedEnv env(kGiven);
  ExpectFields(LauncherWith(arguments), fields);
  EXPECT_EQ(EnvChanges(kGiven, CurrentEnvironment()), variables);
}

TEST(CommandLine, WithoutArgumentsLeavesEveryFieldAtItsDefault) {
  ExpectSets({}, {});
}

TEST(CommandLine, TakesTheInitialFlagsFromTheCaller) {
  const ScopedEnv env(kGiven);
  const char* const none[] = {"kvl-launcher", nullptr};
  ExpectFields(Launcher(1, none, "x", /*initial_ui_flag=*/true, kWaitForInstaller),
               {{"UIFlag", "true"}, {"WaitFlag", "true"}, {"InstallerExeName", "x"}});
}

TEST(CommandLine, EachOptionSetsItsFieldsAndNoOther) {
  ExpectSets({"-wait"}, {{"WaitFlag", "true"}});
  ExpectSets({"-UI"}, {{"UIFlag", "true"}});
  ExpectSets({"-installerPath", "/i"}, {{"InstallerPathArg", "/i"}});
  ExpectSets({"-installerPath", "/i", "-installerPath", "/j"}, {{"InstallerPathArg", "/j"}});
  ExpectSets({"-installerPath", "/i", "-installerPath", ""}, {});
  ExpectSets({"--odt"}, {{"WaitFlag", "true"}, {"InstallerExeName", "KVLInsAppliODT.exe"}});
  ExpectSets({"--mgt"}, {{"ManagementMode", "true"}, {"PassThroughArgs", "[--mgt]"}});
}

TEST(CommandLine, TheLastOfMgtAndUninstCountsAndBothArePassedOn) {
  const auto passed_on = [](const char* texts, const char* uninstall) -> Environment {
    return {{"ManagementMode", "true"}, {"PassThroughArgs", texts}, {"Uninstall", uninstall}};
  };
  ExpectSets({"--uninst"}, passed_on("[--uninst]", "true"));
  ExpectSets({"--mgt", "--uninst"}, passed_on("[--mgt][--uninst]", "true"));
  ExpectSets({"--uninst", "--mgt"}, passed_on("[--uninst][--mgt]", "false"));
}

TEST(CommandLine, TheLastSoftwareManagementActionCounts) {
  const auto action = [](const char* name, const char* read_only) -> Environment {
    return {{"SoftMgt", "true"}, {"SoftMgtAction", name}, {"SoftMgtReadOnly", read_only}};
  };
  ExpectSets({"-SoftMgt", "-List"}, action("List", "true"));
  ExpectSets({"-SoftMgt", "-Check"}, action("Check1", "true"));
  ExpectSets({"-SoftMgt", "-Commit"}, action("Commit", "false"));
  ExpectSets({"-SoftMgt", "-Rollback"}, action("Rollback", "false"));
  ExpectSets({"-Commit", "-SoftMgt"}, action("Commit", "false"));
  ExpectSets({"-SoftMgt", "-Commit", "-Check"}, action("Check1", "true"));
  ExpectSets({"-SoftMgt", "-List", "-Rollback"}, action("Rollback", "true"));
}

TEST(CommandLine, PassesEverythingElseOnUnchangedAndInOrder) {
  ExpectSets({"--var", "a=b", "-UI", "-CDpath", "", "-wait ", "-WAIT", "--ODT", "-softMgt",
              "--installerPath", "-env=A", "--", "\xff \"'\\\n"},
             {{"UIFlag", "true"},
              {"PassThroughArgs",
               "[--var][a=b][-CDpath][][-wait ][-WAIT][--ODT][-softMgt]"
               "[--installerPath][-env=A][--][\xff \"'\\\n]"}});
}

TEST(CommandLine, AValueIsTakenWhateverItLooksLike) {
  ExpectSets({"-installerPath", "-wait", "-env", "--uninst"}, {{"InstallerPathArg", "-wait"}},
             {{"--uninst", "1"}});
}

TEST(CommandLine, EnvSetsAVariableAtOnce) {
  ExpectSets({"-env", "FOO"}, {}, {{"FOO", "1"}});
  ExpectSets({"-env", "FOO="}, {}, {{"FOO", ""}});
  ExpectSets({"-env", "A=x=y"}, {}, {{"A", "x=y"}});
  ExpectSets({"-env", "A=="}, {}, {{"A", "="}});
  ExpectSets({"-env", "old=new"}, {}, {{"old", "new"}});
  ExpectSets({"-env", "old"}, {}, {{"old", "1"}});
  ExpectSets({"-env", "old="}, {}, {{"old", ""}});
  ExpectSets({"-env", "two words=a b"}, {}, {{"two words", "a b"}});
  ExpectSets({"-env", "\xff=\n"}, {}, {{"\xff", "\n"}});
}

TEST(CommandLine, EnvWithAnEmptyOrRefusedNameChangesNothing) {
  for (const char* value : {"", "=old", "=", "=old=y"}) ExpectSets({"-env", value}, {});
}

TEST(CommandLine, TheMediaIsReadBeforeTheOptionsAndAgainByOdt) {
  const Environment later = {{"CurrentMediaDir", "/later"}};
  Environment odt = {{"WaitFlag", "true"}, {"InstallerExeName", "KVLInsAppliODT.exe"}};
  ExpectSets({"-env", "CurrentMediaDir=/later"}, {}, later);
  ExpectSets({"--odt", "-env", "CurrentMediaDir=/later"}, odt, later);
  odt["MediaDir"] = "/later";
  ExpectSets({"-env", "CurrentMediaDir=/later", "--odt"}, odt, later);
}

TEST(CommandLine, TheMediaDirectoryIsNormalised) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"/m//x/", "/m/x"}, {"\"/m\"", "/m"}, {"'/m'", "/m"}, {"X:\\dir\\", "X:/dir"},  {"'", ""},
      {"\"", "\""},       {"", ""},         {"///", "/"},   {"\"\"/m\"\"", "\"/m\""},
  };
  for (const auto& [given, media_dir] : rows) {
    const ScopedEnv env(Environment{{"CurrentMediaDir", given}});
    EXPECT_EQ(LauncherWith({}).MediaDir.Str(), media_dir) << given;
  }
}

TEST(CommandLine, WithoutCurrentMediaDirTheMediaIsAnEmptyPath) {
  const ScopedEnv env;
  const Launcher launcher = LauncherWith({});
  EXPECT_EQ(launcher.MediaDir.Str(), "");
  EXPECT_FALSE(launcher.MediaDir.IsAbsolute());
}

TEST(CommandLine, EndsAtItsCountOrANullPointerAndMayBeMissing) {
  ExpectSets({"a", nullptr, "-wait", "b"}, {{"PassThroughArgs", "[a]"}});
  const ScopedEnv env(kGiven);
  const char* const arguments[] = {"kvl-launcher", "a", "-env", nullptr};
  const auto read = [](int argc, const char* const* argv) {
    return Launcher(argc, argv, "installer", kWithoutUI, kWithoutWaiting);
  };
  ExpectFields(read(2, arguments), {{"PassThroughArgs", "[a]"}});
  ExpectFields(read(0, arguments + 3), {});  // without the program's name
  ExpectFields(read(5, nullptr), {});
}

TEST(CommandLine, WithAnErrorEndsWithAMessageAndStatus1AtOnce) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{"-env"}, says::BadArgument("-env")},
      {{"-env", "A=1", "-env"}, says::BadArgument("-env")},
      {{"--uninst", "-installerPath"}, says::BadArgument("-installerPath")},
      {{"-SoftMgt", "-installerPath"}, says::BadArgument("-installerPath")},
      {{"-SoftMgt"}, says::NoAction()},
      {{"-List"}, says::ActionAlone("-List")},
      {{"-Check"}, says::ActionAlone("-Check")},
      {{"-Commit"}, says::ActionAlone("-Commit")},
      {{"-Rollback", "--mgt"}, says::ActionAlone("-Rollback")},
      {{"-Check", "-List"}, says::ActionAlone("-List")},
      {{"-List", "-Check"}, says::ActionAlone("-Check")},
  };
  LaunchWorld world;
  world.VolumeMissing();
  for (const auto& [arguments, message] : rows) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    world.Expect({.status = 1, .err = message}, {.arguments = arguments});
  }
}

TEST(CommandLine, WithAnErrorNeitherUnwindsNorFlushesNorRunsHandlers) {
  struct Noisy {
    ~Noisy() { std::fputs("unwound", stderr); }
  };
  for (const char* option : {"-env", "-installerPath"}) {
    const Outcome outcome = RunIsolated([&] {
      const Noisy noisy;
      std::atexit([] { std::fputs("handler", stderr); });
      std::fputs("unflushed", stdout);
      LauncherWith({option, nullptr});
      return 0;
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, says::BadArgument(option));
  }
}

}  // namespace
}  // namespace kvl::test
