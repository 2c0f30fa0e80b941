#include "environment/installer_environment.h"

#include "tests/launcher/expected_environment.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

/// The media /m, the operating-system directory "x", the installer in the media, an ordinary user
/// in an interactive session.
const InstallerSetting kPlainSetting = {"/m", "", "x"};

constexpr char kPlainPrograms[] = "/m/inst/x/code/bin:/m/inst/common/code/bin";

const std::vector<std::string> kBackedUp = {
    "ORBInst",         "ORBInstaller",   "ORBInstallPath",    "ORBDictionaryPath",
    "ORBReffilesPath", "ORBGraphicPath", "ORBMsgCatalogPath", "PATH"};

/// Everything that the plain setting changes in an empty environment.
Environment PlainChanges() {
  Environment changes = {
      {"KVLAdmInstCurrentMediaDir", "/m"},
      {"ORBInst", "/m/inst"},
      {"ORBInstaller", ""},
      {"ORBInstallPath", "/m/inst/x"},
      {"ORBDictionaryPath", "/m/inst/x/code/dictionary:/m/inst/common/code/dictionary"},
      {"ORBReffilesPath", "/m/inst/x/reffiles:/m/inst/common/reffiles"},
      {"ORBGraphicPath",
       "/m/inst/x/resources/graphic:/m/inst/common/resources/graphic:"
       "/m/inst/x/resources/graphic/icons:/m/inst/common/resources/graphic/icons:"
       "/m/inst/x/resources/graphic/splashscreens:/m/inst/common/resources/graphic/splashscreens"},
      {"ORBMsgCatalogPath", "/m/inst/x/resources/msgcatalog:/m/inst/common/resources/msgcatalog"},
      {"PATH", "/m/inst/x/code/bin:"},
      {"KVLSysIRManagementActivation", "NO"},
      {"ORBAppBridge", "NO"},
      {"KVLAdmInstDebugEnv", "f"},
      {"KVLAdmInstDebugSummary", "f"},
      {"KVLAdmInstDebugIndexes", "f"},
      {"KVLAdmInstDebugAction", "f"},
      {"KVLAdmInstDebugError", "1"},
      {"KVLAdmInstDebugEverything", "1"},
      {"KVL_BAK_", "KVL_BAK="},
      {"TEMP", "/tmp"},
      {"ORBTemp", "/tmp"},
      {"KVLIns_HasElevatedPrivileges", "0"},
      {"KVLIns_IsInteractiveSession", "1"},
  };
  for (const std::string& name : kBackedUp) changes["KVL_BAK_" + name] = "KVL_BAK=";
  return changes;
}

/// PlainChanges with some variables different, and some not changed.
Environment PlainChangesBut(const Environment& different,
                            const std::vector<std::string>& unchanged = {}) {
  Environment changes = PlainChanges();
  for (const auto& [name, value] : different) changes[name] = value;
  for (const std::string& name : unchanged) changes.erase(name);
  return changes;
}

/// Returns every variable that the setup changes in this environment.
Environment ChangesOf(const InstallerSetting& setting, const Environment& callers = {}) {
  const ScopedEnv env(callers);
  SetInstallerEnvironment(setting);
  return EnvChanges(callers, CurrentEnvironment());
}

TEST(SetInstallerEnvironment, SetsEveryVariableForAnInstallerInTheMedia) {
  EXPECT_EQ(ChangesOf(kPlainSetting), PlainChanges());
}

TEST(SetInstallerEnvironment, ConcatenatesTextsAsTheyStand) {
  struct Row {
    std::string media, external, os, reffiles;
  };
  const std::vector<Row> rows = {
      {"/m", "/e/inst/", "x",
       "/m/inst/x/reffiles:/m/inst/common/reffiles:/e/inst/x/reffiles:/e/inst/common/reffiles"},
      {"/m", "no-slash", "x",
       "/m/inst/x/reffiles:/m/inst/common/reffiles:no-slashx/reffiles:no-slashcommon/reffiles"},
      {"/m", "", "", "/m/inst//reffiles:/m/inst/common/reffiles"},
      {"/m", "/e/inst/", "",
       "/m/inst//reffiles:/m/inst/common/reffiles:/e/inst//reffiles:/e/inst/common/reffiles"},
      {"", "", "x", "/inst/x/reffiles:/inst/common/reffiles"},
      {"/", "", "x", "//inst/x/reffiles://inst/common/reffiles"},
      {"m", "", "x", "m/inst/x/reffiles:m/inst/common/reffiles"},
      {"/a b", "", "x:y", "/a b/inst/x:y/reffiles:/a b/inst/common/reffiles"},
      {"/m", "", "a/b", "/m/inst/a/b/reffiles:/m/inst/common/reffiles"},
      {"/m", "", "common", "/m/inst/common/reffiles:/m/inst/common/reffiles"},
  };
  const Environment callers = {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reffiles);
    const Environment changes =
        ChangesOf({row.media, row.external, row.os, ::getuid() == 0, true}, callers);
    EXPECT_EQ(changes, EnvChanges(callers, AfterSetup(callers, {.media = row.media,
                                                                .external = row.external,
                                                                .os = row.os})));
    EXPECT_EQ(changes.at("ORBReffilesPath"), row.reffiles);
  }
}

TEST(SetInstallerEnvironment, NamesTheMediaBeforeAnExternalOne) {
  EXPECT_EQ(ChangesOf({"/m", "/e/inst/", "x"}).at("ORBGraphicPath"),
            PlainChanges().at("ORBGraphicPath") +
                ":/e/inst/x/resources/graphic:/e/inst/common/resources/graphic:"
                "/e/inst/x/resources/graphic/icons:/e/inst/common/resources/graphic/icons:"
                "/e/inst/x/resources/graphic/splashscreens:"
                "/e/inst/common/resources/graphic/splashscreens");
}

TEST(SetInstallerEnvironment, BacksUpTheUsersValuesAndReplacesThem) {
  Environment callers;
  for (const auto& [name, value] : PlainChanges()) {
    if (name.starts_with("KVL_BAK_")) continue;
    callers[name] = "user's " + name;
    callers["KVL_BAK_" + name] = "user's backup";
  }
  Environment changes = PlainChangesBut({{"PATH", "/m/inst/x/code/bin:user's PATH"}});
  for (const std::string& name : kBackedUp) changes["KVL_BAK_" + name] = "KVL_BAK=user's " + name;
  // The setup writes no other backup: it forces the switches and sets TEMP and the rest without
  // one.
  EXPECT_EQ(ChangesOf(kPlainSetting, callers), changes);
}

/// The user's variables, and the differences that they cause.
struct UsersRow {
  std::string name;
  Environment callers, different = {};
};

TEST(SetInstallerEnvironment, FollowsTheUsersVariables) {
  const std::vector<UsersRow> rows = {
      {"PATH is kept behind the installer's programs",
       {{"PATH", "/usr/bin:/bin"}},
       {{"PATH", "/m/inst/x/code/bin:/usr/bin:/bin"}, {"KVL_BAK_PATH", "KVL_BAK=/usr/bin:/bin"}}},
      {"an empty PATH ends with a colon", {{"PATH", ""}}},
      {"the error switch is forced without a backup", {{"KVLAdmInstDebugError", "0"}}},
      {"an empty TMPDIR is none", {{"TMPDIR", ""}}},
      {"TEMP follows TMPDIR, and ORBTemp does not",
       {{"TMPDIR", "/var//tmp/"}, {"TEMP", "/mine"}},
       {{"TEMP", "/var//tmp/"}}},
      {"TEMP and ORBTemp are replaced", {{"TEMP", "/mine"}, {"ORBTemp", "/mine"}}},
      {"an empty name of the library path leaves a bare backup", {{"KVL_LIBPATH_VARNAME", ""}}},
  };
  for (const UsersRow& row : rows) {
    EXPECT_EQ(ChangesOf(kPlainSetting, row.callers), PlainChangesBut(row.different)) << row.name;
  }
}

TEST(SetInstallerEnvironment, TellsPrivilegesAndSessionAsOneOrZero) {
  for (const auto& [elevated, interactive] : {std::pair(false, false), std::pair(false, true),
                                              std::pair(true, false), std::pair(true, true)}) {
    EXPECT_EQ(ChangesOf({"/m", "", "x", elevated, interactive}),
              PlainChangesBut({{"KVLIns_HasElevatedPrivileges", elevated ? "1" : "0"},
                               {"KVLIns_IsInteractiveSession", interactive ? "1" : "0"}}));
  }
}

TEST(SetInstallerEnvironment, TakesAnyVariableAsLibraryPath) {
  std::vector<UsersRow> rows = {
      {"LD_LIBRARY_PATH",  // replaced completely
       {{"LD_LIBRARY_PATH", "/usr/lib:/lib"}},
       {{"LD_LIBRARY_PATH", kPlainPrograms}, {"KVL_BAK_LD_LIBRARY_PATH", "KVL_BAK=/usr/lib:/lib"}}},
      {"PATH",  // after it is set
       {{"PATH", "/usr/bin"}},
       {{"PATH", kPlainPrograms}, {"KVL_BAK_PATH", "KVL_BAK=/m/inst/x/code/bin:/usr/bin"}}},
      {"TMPDIR",  // before TEMP is set
       {{"TMPDIR", "/var/tmp"}},
       {{"TMPDIR", kPlainPrograms},
        {"KVL_BAK_TMPDIR", "KVL_BAK=/var/tmp"},
        {"TEMP", kPlainPrograms}}},
      {"KVL_LIBPATH_VARNAME",
       {},
       {{"KVL_LIBPATH_VARNAME", kPlainPrograms},
        {"KVL_BAK_KVL_LIBPATH_VARNAME", "KVL_BAK=KVL_LIBPATH_VARNAME"}}},
  };
  for (const std::string refused : {"A=B", "=", "PATH="}) rows.push_back({refused, {}});
  for (const std::string name :
       {"TEMP", "ORBTemp", "KVLIns_HasElevatedPrivileges", "KVLIns_IsInteractiveSession"}) {
    rows.push_back(
        {name, {{name, "user's"}}, {{"KVL_BAK_" + name, "KVL_BAK=user's"}}});  // set later
  }
  for (const auto& [name, value] : PlainChanges()) {  // including the switches and the backups
    if (name == "KVL_BAK_" || name == "TEMP" || name == "ORBTemp" || name.starts_with("KVLIns_")) {
      continue;
    }
    rows.push_back({name, {}, {{"KVL_BAK_" + name, "KVL_BAK=" + value}, {name, kPlainPrograms}}});
  }
  for (UsersRow& row : rows) {
    row.callers["KVL_LIBPATH_VARNAME"] = row.name;
    EXPECT_EQ(ChangesOf(kPlainSetting, row.callers), PlainChangesBut(row.different, {"KVL_BAK_"}))
        << row.name;
  }
  EXPECT_EQ(ChangesOf(kPlainSetting, {{"KVL_LIBPATH_VARNAME", "KVL_BAK_"}}),
            PlainChangesBut({{"KVL_BAK_", kPlainPrograms}, {"KVL_BAK_KVL_BAK_", "KVL_BAK="}}));
}

}  // namespace
}  // namespace kvl::test
