

#include "launcher/launcher.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// Holds an argument vector as main gets it: the program's name first, a null pointer last.
class Arguments {
 public:
  explicit Arguments(const std::vector<const char*>& arguments) : pointers_{"kvl-launcher"} {
    pointers_.insert(pointers_.end(), arguments.begin(), arguments.end());
    pointers_.push_back(nullptr);
  }

  int Count() const { return static_cast<int>(pointers_.size()) - 1; }
  const char* const* Vector() const { return pointers_.data(); }

 private:
  std::vector<const char*> pointers_;
};

constexpr bool kWithoutWaiting = false;

Launcher LauncherWith(const std::vector<const char*>& arguments) {
  const Arguments given(arguments);
  return Launcher(given.Count(), given.Vector(), "installer", kWithoutUI, kWithoutWaiting);
}

std::string InBrackets(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += "[" + text + "]";
  return all;
}

/// Every field by its name.
Environment FieldsOf(const Launcher& launcher) {
  const auto flag = [](bool value) { return value ? "true" : "false"; };
  return {{"WaitFlag", flag(launcher.WaitFlag)},
          {"UIFlag", flag(launcher.UIFlag)},
          {"InteractiveSession", flag(launcher.InteractiveSession)},
          {"PassThroughArgs", InBrackets(launcher.PassThroughArgs)},
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

Environment DefaultFields() {
  return {{"WaitFlag", "false"},          {"UIFlag", "false"},
          {"InteractiveSession", "true"}, {"PassThroughArgs", ""},
          {"InstallerPathArg", ""},       {"SoftMgt", "false"},
          {"SoftMgtReadOnly", "false"},   {"ManagementMode", "false"},
          {"InstallerCopied", "false"},   {"Uninstall", "false"},
          {"SoftMgtAction", ""},          {"MediaDir", "/m"},
          {"CommonDirPrefix", ""},        {"InstallerExeName", "installer"},
          {"InstallerPath", ""},          {"OsName", ""}};
}

Environment DefaultFieldsBut(const Environment& others) {
  Environment fields = DefaultFields();
  for (const auto& [name, value] : others) fields[name] = value;
  return fields;
}

TEST(CommandLine, WithoutArgumentsLeavesEveryFieldAtItsDefault) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}, {"KVL_OS", "not read yet"}});
  EXPECT_EQ(FieldsOf(LauncherWith({})), DefaultFields());
}

TEST(CommandLine, TakesTheInitialFlagsFromTheCaller) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  const Arguments none({});
  const Launcher launcher(none.Count(), none.Vector(), "x", /*initial_ui_flag=*/true,
                          kWaitForInstaller);
  EXPECT_EQ(
      FieldsOf(launcher),
      DefaultFieldsBut({{"UIFlag", "true"}, {"WaitFlag", "true"}, {"InstallerExeName", "x"}}));
}

TEST(CommandLine, EachOptionSetsItsFieldsAndNoOther) {
  struct Row {
    std::vector<const char*> arguments;
    Environment changed;
  };
  const std::vector<Row> rows = {
      {{"-wait"}, {{"WaitFlag", "true"}}},
      {{"-UI"}, {{"UIFlag", "true"}}},
      {{"-env", "A=b"}, {}},
      {{"-installerPath", "/i"}, {{"InstallerPathArg", "/i"}}},
      {{"-installerPath", "/i", "-installerPath", "/j"}, {{"InstallerPathArg", "/j"}}},
      {{"-installerPath", ""}, {}},
      {{"--odt"}, {{"WaitFlag", "true"}, {"InstallerExeName", "KVLInsAppliODT.exe"}}},
      {{"--mgt"}, {{"ManagementMode", "true"}, {"PassThroughArgs", "[--mgt]"}}},
      {{"--uninst"},
       {{"ManagementMode", "true"}, {"Uninstall", "true"}, {"PassThroughArgs", "[--uninst]"}}},
      {{"--mgt", "--uninst"},
       {{"ManagementMode", "true"},
        {"Uninstall", "true"},
        {"PassThroughArgs", "[--mgt][--uninst]"}}},
      {{"--uninst", "--mgt"},
       {{"ManagementMode", "true"}, {"PassThroughArgs", "[--uninst][--mgt]"}}},
  };
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    EXPECT_EQ(FieldsOf(LauncherWith(row.arguments)), DefaultFieldsBut(row.changed));
  }
}

TEST(CommandLine, SoftwareManagementActionsAreRememberedAndTheLastOneCounts) {
  struct Row {
    std::vector<const char*> arguments;
    std::string action, read_only;
  };
  const std::vector<Row> rows = {
      {{"-SoftMgt", "-List"}, "List", "true"},
      {{"-SoftMgt", "-Check"}, "Check1", "true"},
      {{"-SoftMgt", "-Commit"}, "Commit", "false"},
      {{"-SoftMgt", "-Rollback"}, "Rollback", "false"},
      {{"-Commit", "-SoftMgt"}, "Commit", "false"},
      {{"-SoftMgt", "-Commit", "-Check"}, "Check1", "true"},
      {{"-SoftMgt", "-List", "-Rollback"}, "Rollback", "true"},
  };
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    EXPECT_EQ(FieldsOf(LauncherWith(row.arguments)),
              DefaultFieldsBut({{"SoftMgt", "true"},
                                {"SoftMgtAction", row.action},
                                {"SoftMgtReadOnly", row.read_only}}));
  }
}

TEST(CommandLine, PassesEverythingElseOnUnchangedAndInOrder) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(FieldsOf(LauncherWith({"--var", "a=b", "-UI", "-CDpath", "", "-wait ", "-WAIT", "--ODT",
                                   "-softMgt", "--installerPath", "-env=A", "--", "\xff \"'\\\n"})),
            DefaultFieldsBut({{"UIFlag", "true"},
                              {"PassThroughArgs",
                               "[--var][a=b][-CDpath][][-wait ][-WAIT][--ODT][-softMgt]"
                               "[--installerPath][-env=A][--][\xff \"'\\\n]"}}));
}

TEST(CommandLine, AValueIsTakenWhateverItLooksLike) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(FieldsOf(LauncherWith({"-installerPath", "-wait", "-env", "--uninst"})),
            DefaultFieldsBut({{"InstallerPathArg", "-wait"}}));
  EXPECT_EQ(EnvChanges({{"CurrentMediaDir", "/m"}}, CurrentEnvironment()),
            (Environment{{"--uninst", "1"}}));
}

TEST(CommandLine, EnvSetsAVariableAtOnce) {
  struct Row {
    const char* value;
    Environment changed;
  };
  const std::vector<Row> rows = {
      {"FOO", {{"FOO", "1"}}},       {"FOO=", {{"FOO", ""}}},
      {"A=x=y", {{"A", "x=y"}}},     {"A==", {{"A", "="}}},
      {"old=new", {{"old", "new"}}}, {"old", {{"old", "1"}}},
      {"old=", {{"old", ""}}},       {"two words=a b", {{"two words", "a b"}}},
      {"\xff=\n", {{"\xff", "\n"}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Environment before = {{"old", "value"}, {"CurrentMediaDir", "/m"}};
    const ScopedEnv env(before);
    LauncherWith({"-env", row.value});
    EXPECT_EQ(EnvChanges(before, CurrentEnvironment()), row.changed);
  }
}

TEST(CommandLine, EnvWithAnEmptyOrRefusedNameChangesNothing) {
  for (const char* value : {"", "=x", "=", "=x=y"}) {
    SCOPED_TRACE(value);
    const ScopedEnv env(Environment{{"x", "old"}});
    LauncherWith({"-env", value});
    EXPECT_EQ(CurrentEnvironment(), (Environment{{"x", "old"}}));
  }
}

TEST(CommandLine, TheMediaDirectoryIsReadBeforeTheOptions) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(LauncherWith({"-env", "CurrentMediaDir=/later"}).MediaDir.Str(), "/m");
}

TEST(CommandLine, OdtReadsTheMediaDirectoryAgain) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(LauncherWith({"-env", "CurrentMediaDir=/later", "--odt"}).MediaDir.Str(), "/later");
}

TEST(CommandLine, OdtSeesNoEnvBehindIt) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(LauncherWith({"--odt", "-env", "CurrentMediaDir=/later"}).MediaDir.Str(), "/m");
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

TEST(CommandLine, WithoutCurrentMediaDirTheMediaDirectoryIsEmptyAndRelative) {
  const ScopedEnv env;
  const Launcher launcher = LauncherWith({});
  EXPECT_EQ(launcher.MediaDir.Str(), "");
  EXPECT_FALSE(launcher.MediaDir.IsAbsolute());
}

TEST(CommandLine, WithoutAnArgumentVectorTheLauncherIsComplete) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  const Launcher launcher(5, nullptr, "installer", kWithoutUI, kWithoutWaiting);
  EXPECT_EQ(FieldsOf(launcher), DefaultFields());
}

TEST(CommandLine, WithoutEvenTheProgramsNameThereAreNoArguments) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  const char* const empty[] = {nullptr};
  const Launcher launcher(0, empty, "installer", kWithoutUI, kWithoutWaiting);
  EXPECT_EQ(FieldsOf(launcher), DefaultFields());
}

TEST(CommandLine, ANullPointerAmongTheArgumentsIsTheirEnd) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  EXPECT_EQ(FieldsOf(LauncherWith({"a", nullptr, "-wait", "b"})),
            DefaultFieldsBut({{"PassThroughArgs", "[a]"}}));
}

TEST(CommandLine, LooksAtNoMoreThanTheNumberOfArgumentsGiven) {
  const ScopedEnv env(Environment{{"CurrentMediaDir", "/m"}});
  const Arguments given({"a", "b", "-env"});
  const Launcher launcher(2, given.Vector(), "installer", kWithoutUI, kWithoutWaiting);
  EXPECT_EQ(FieldsOf(launcher), DefaultFieldsBut({{"PassThroughArgs", "[a]"}}));
}

TEST(CommandLine, ABadOneIsAnErrorMessageAndStatus1) {
  struct Row {
    std::vector<const char*> arguments;
    const char* message;
  };
  const std::vector<Row> rows = {
      {{"-env"}, "Bad -env argument"},
      {{"-env", "A=1", "-env"}, "Bad -env argument"},
      {{"-env", nullptr}, "Bad -env argument"},
      {{"-installerPath"}, "Bad -installerPath argument"},
      {{"-installerPath", nullptr}, "Bad -installerPath argument"},
      {{"-SoftMgt", "-installerPath"}, "Bad -installerPath argument"},
      {{"-SoftMgt"},
       "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback)."},
      {{"-List"}, "-List must be used with the -SoftMgt flag."},
      {{"-Check"}, "-Check must be used with the -SoftMgt flag."},
      {{"-Commit"}, "-Commit must be used with the -SoftMgt flag."},
      {{"-Rollback", "--mgt"}, "-Rollback must be used with the -SoftMgt flag."},
      {{"-Check", "-List"}, "-List must be used with the -SoftMgt flag."},
      {{"-List", "-Check"}, "-Check must be used with the -SoftMgt flag."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const Outcome outcome = RunIsolated([&] {
      LauncherWith(row.arguments);
      return 0;
    });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ERROR: " + std::string(row.message) + "\n");
  }
}

TEST(CommandLine, ABadOneEndsTheProcessWithoutUnwindingOrFlushing) {
  struct Noisy {
    ~Noisy() { std::fputs("unwound", stderr); }
  };
  const Outcome outcome = RunIsolated([] {
    const Noisy noisy;
    std::fputs("unflushed", stdout);
    LauncherWith({"-env"});
    return 0;
  });
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "ERROR: Bad -env argument\n");
}

}  // namespace
}  // namespace kvl::test
