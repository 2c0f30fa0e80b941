#include "environment/installer_environment.h"

#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// Media /m, operating-system directory "x", the installer in the media, an ordinary user.
InstallerSetting PlainSetting() {
  return {"/m", "", "x", /*elevated_privileges=*/false, /*interactive_session=*/true};
}

/// As before, and an external installer media /e.
InstallerSetting ExternalSetting() {
  return {"/m", "/e/inst/", "x", /*elevated_privileges=*/false, /*interactive_session=*/true};
}

TEST(InstallerSetting, IsOfAnOrdinaryUserInAnInteractiveSessionUnlessToldOtherwise) {
  const InstallerSetting setting;
  EXPECT_FALSE(setting.elevated_privileges);
  EXPECT_TRUE(setting.interactive_session);
}

constexpr char kPlainPrograms[] = "/m/inst/x/code/bin:/m/inst/common/code/bin";

/// All that the plain setting changes in an environment that holds no variable.
Environment PlainChanges() {
  return {
      {"KVLAdmInstCurrentMediaDir", "/m"},
      {"ORBInst", "/m/inst"},
      {"KVL_BAK_ORBInst", "KVL_BAK="},
      {"ORBInstaller", ""},
      {"KVL_BAK_ORBInstaller", "KVL_BAK="},
      {"ORBInstallPath", "/m/inst/x"},
      {"KVL_BAK_ORBInstallPath", "KVL_BAK="},
      {"ORBDictionaryPath", "/m/inst/x/code/dictionary:/m/inst/common/code/dictionary"},
      {"KVL_BAK_ORBDictionaryPath", "KVL_BAK="},
      {"ORBReffilesPath", "/m/inst/x/reffiles:/m/inst/common/reffiles"},
      {"KVL_BAK_ORBReffilesPath", "KVL_BAK="},
      {"ORBGraphicPath",
       "/m/inst/x/resources/graphic:/m/inst/common/resources/graphic:"
       "/m/inst/x/resources/graphic/icons:/m/inst/common/resources/graphic/icons:"
       "/m/inst/x/resources/graphic/splashscreens:/m/inst/common/resources/graphic/splashscreens"},
      {"KVL_BAK_ORBGraphicPath", "KVL_BAK="},
      {"ORBMsgCatalogPath", "/m/inst/x/resources/msgcatalog:/m/inst/common/resources/msgcatalog"},
      {"KVL_BAK_ORBMsgCatalogPath", "KVL_BAK="},
      {"PATH", "/m/inst/x/code/bin:"},
      {"KVL_BAK_PATH", "KVL_BAK="},
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
}

/// PlainChanges with some variables different, and some not changed at all.
Environment PlainChangesBut(const Environment& different,
                            const std::vector<std::string>& unchanged = {}) {
  Environment changes = PlainChanges();
  for (const auto& [name, value] : different) changes[name] = value;
  for (const std::string& name : unchanged) changes.erase(name);
  return changes;
}

/// Every variable that the setup changes in this environment.
Environment ChangesOf(const InstallerSetting& setting, const Environment& callers = {}) {
  const ScopedEnv env(callers);
  SetInstallerEnvironment(setting);
  return EnvChanges(callers, CurrentEnvironment());
}

TEST(SetInstallerEnvironment, SetsEverythingForAnInstallerInTheMedia) {
  EXPECT_EQ(ChangesOf(PlainSetting()), PlainChanges());
}

TEST(SetInstallerEnvironment, NamesAnExternalInstallerMediaBehindTheMedia) {
  const Environment different = {
      {"ORBInstaller", "/e/inst/"},
      {"ORBDictionaryPath",
       "/m/inst/x/code/dictionary:/m/inst/common/code/dictionary:"
       "/e/inst/x/code/dictionary:/e/inst/common/code/dictionary"},
      {"ORBReffilesPath",
       "/m/inst/x/reffiles:/m/inst/common/reffiles:/e/inst/x/reffiles:/e/inst/common/reffiles"},
      {"ORBGraphicPath",
       "/m/inst/x/resources/graphic:/m/inst/common/resources/graphic:"
       "/m/inst/x/resources/graphic/icons:/m/inst/common/resources/graphic/icons:"
       "/m/inst/x/resources/graphic/splashscreens:/m/inst/common/resources/graphic/splashscreens:"
       "/e/inst/x/resources/graphic:/e/inst/common/resources/graphic:"
       "/e/inst/x/resources/graphic/icons:/e/inst/common/resources/graphic/icons:"
       "/e/inst/x/resources/graphic/splashscreens:/e/inst/common/resources/graphic/splashscreens"},
      {"ORBMsgCatalogPath",
       "/m/inst/x/resources/msgcatalog:/m/inst/common/resources/msgcatalog:"
       "/e/inst/x/resources/msgcatalog:/e/inst/common/resources/msgcatalog"},
      {"LD_LIBRARY_PATH",
       "/m/inst/x/code/bin:/m/inst/common/code/bin:/e/inst/x/code/bin:/e/inst/common/code/bin"},
      {"KVL_BAK_LD_LIBRARY_PATH", "KVL_BAK="},
  };
  EXPECT_EQ(ChangesOf(ExternalSetting(), {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}}),
            PlainChangesBut(different, {"KVL_BAK_"}));
}

TEST(SetInstallerEnvironment, TakesTheExternalDirectoryAsItStands) {
  InstallerSetting setting = ExternalSetting();
  setting.external_inst_slash = "no-slash";
  const Environment changes = ChangesOf(setting);
  EXPECT_EQ(changes.at("ORBInstaller"), "no-slash");
  EXPECT_EQ(
      changes.at("ORBReffilesPath"),
      "/m/inst/x/reffiles:/m/inst/common/reffiles:no-slashx/reffiles:no-slashcommon/reffiles");
}

TEST(SetInstallerEnvironment, LeavesADoubledSlashForAnEmptyOperatingSystemName) {
  InstallerSetting setting = PlainSetting();
  setting.os_name = "";
  const Environment different = {
      {"ORBInstallPath", "/m/inst/"},
      {"ORBDictionaryPath", "/m/inst//code/dictionary:/m/inst/common/code/dictionary"},
      {"ORBReffilesPath", "/m/inst//reffiles:/m/inst/common/reffiles"},
      {"ORBGraphicPath",
       "/m/inst//resources/graphic:/m/inst/common/resources/graphic:"
       "/m/inst//resources/graphic/icons:/m/inst/common/resources/graphic/icons:"
       "/m/inst//resources/graphic/splashscreens:/m/inst/common/resources/graphic/splashscreens"},
      {"ORBMsgCatalogPath", "/m/inst//resources/msgcatalog:/m/inst/common/resources/msgcatalog"},
      {"PATH", "/m/inst//code/bin:"},
  };
  EXPECT_EQ(ChangesOf(setting), PlainChangesBut(different));
}

TEST(SetInstallerEnvironment, LeavesADoubledSlashInTheExternalMediaToo) {
  InstallerSetting setting = ExternalSetting();
  setting.os_name = "";
  EXPECT_EQ(ChangesOf(setting).at("ORBReffilesPath"),
            "/m/inst//reffiles:/m/inst/common/reffiles:/e/inst//reffiles:/e/inst/common/reffiles");
}

TEST(SetInstallerEnvironment, PutsTextsTogetherAsTheyStand) {
  struct Row {
    std::string media_dir, os_name, inst, install_path;
  };
  const std::vector<Row> rows = {{"", "x", "/inst", "/inst/x"},
                                 {"/", "x", "//inst", "//inst/x"},
                                 {"m", "x", "m/inst", "m/inst/x"},
                                 {"/a b", "x:y", "/a b/inst", "/a b/inst/x:y"},
                                 {"/m", "a/b", "/m/inst", "/m/inst/a/b"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.media_dir + ", " + row.os_name);
    InstallerSetting setting = PlainSetting();
    setting.media_dir = row.media_dir;
    setting.os_name = row.os_name;
    const Environment changes = ChangesOf(setting);
    EXPECT_EQ(changes.at("KVLAdmInstCurrentMediaDir"), row.media_dir);
    EXPECT_EQ(changes.at("ORBInst"), row.inst);
    EXPECT_EQ(changes.at("ORBInstallPath"), row.install_path);
    EXPECT_EQ(changes.at("PATH"), row.install_path + "/code/bin:");
    EXPECT_EQ(changes.at("ORBReffilesPath"),
              row.install_path + "/reffiles:" + row.inst + "/common/reffiles");
  }
}

TEST(SetInstallerEnvironment, KeepsWhatPathHeldBehindTheInstallersPrograms) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"PATH", "/usr/bin:/bin"}}),
            PlainChangesBut({{"PATH", "/m/inst/x/code/bin:/usr/bin:/bin"},
                             {"KVL_BAK_PATH", "KVL_BAK=/usr/bin:/bin"}}));
}

TEST(SetInstallerEnvironment, EndsPathWithAColonWhenItWasEmpty) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"PATH", ""}}), PlainChanges());
}

/// A value of the user's for every variable that the setup sets.
Environment UserValues() {
  Environment values;
  for (const auto& [name, value] : PlainChanges()) {
    if (name.starts_with("KVL_BAK_")) continue;
    values[name] = "user's " + name;
    values["KVL_BAK_" + name] = "user's backup";
  }
  return values;
}

TEST(SetInstallerEnvironment, BacksUpTheUsersValuesAndReplacesThem) {
  const Environment different = {
      {"KVL_BAK_ORBInst", "KVL_BAK=user's ORBInst"},
      {"KVL_BAK_ORBInstaller", "KVL_BAK=user's ORBInstaller"},
      {"KVL_BAK_ORBInstallPath", "KVL_BAK=user's ORBInstallPath"},
      {"KVL_BAK_ORBDictionaryPath", "KVL_BAK=user's ORBDictionaryPath"},
      {"KVL_BAK_ORBReffilesPath", "KVL_BAK=user's ORBReffilesPath"},
      {"KVL_BAK_ORBGraphicPath", "KVL_BAK=user's ORBGraphicPath"},
      {"KVL_BAK_ORBMsgCatalogPath", "KVL_BAK=user's ORBMsgCatalogPath"},
      {"KVL_BAK_PATH", "KVL_BAK=user's PATH"},
      {"PATH", "/m/inst/x/code/bin:user's PATH"},
  };
  // No other backup is touched: the switches are forced, and TEMP and the rest set, without one.
  EXPECT_EQ(ChangesOf(PlainSetting(), UserValues()), PlainChangesBut(different));
}

TEST(SetInstallerEnvironment, ForcesTheErrorSwitchWithoutABackup) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVLAdmInstDebugError", "0"}}), PlainChanges());
}

TEST(SetInstallerEnvironment, SetsTempFromTmpDirButNotOrbTemp) {
  struct Row {
    Environment callers;
    std::string temp;
  };
  const std::vector<Row> rows = {{{}, "/tmp"},
                                 {{{"TMPDIR", ""}}, "/tmp"},
                                 {{{"TMPDIR", "/var/tmp"}}, "/var/tmp"},
                                 {{{"TMPDIR", "/var//tmp/"}}, "/var//tmp/"},
                                 {{{"TEMP", "/mine"}, {"ORBTemp", "/mine"}}, "/tmp"},
                                 {{{"TEMP", "/mine"}, {"TMPDIR", "/var/tmp"}}, "/var/tmp"}};
  for (const Row& row : rows) {
    EXPECT_EQ(ChangesOf(PlainSetting(), row.callers), PlainChangesBut({{"TEMP", row.temp}}));
  }
}

TEST(SetInstallerEnvironment, TellsPrivilegesAndSessionAsOneOrZero) {
  for (const auto& [elevated, interactive] : {std::pair(false, false), std::pair(false, true),
                                              std::pair(true, false), std::pair(true, true)}) {
    const InstallerSetting setting = {"/m", "", "x", elevated, interactive};
    EXPECT_EQ(ChangesOf(setting),
              PlainChangesBut({{"KVLIns_HasElevatedPrivileges", elevated ? "1" : "0"},
                               {"KVLIns_IsInteractiveSession", interactive ? "1" : "0"}}));
  }
}

TEST(SetInstallerEnvironment, ReplacesTheLibrarySearchPathWholly) {
  const Environment callers = {{"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"},
                               {"LD_LIBRARY_PATH", "/usr/lib:/lib"}};
  EXPECT_EQ(ChangesOf(PlainSetting(), callers),
            PlainChangesBut({{"LD_LIBRARY_PATH", kPlainPrograms},
                             {"KVL_BAK_LD_LIBRARY_PATH", "KVL_BAK=/usr/lib:/lib"}},
                            {"KVL_BAK_"}));
}

TEST(SetInstallerEnvironment, WritesOnlyABareBackupWithoutALibraryVariable) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVL_LIBPATH_VARNAME", ""}}), PlainChanges());
  // Unset: SetsEverythingForAnInstallerInTheMedia.
}

TEST(SetInstallerEnvironment, SetsNoLibraryVariableWhoseNameTheSystemRefuses) {
  for (const std::string name : {"A=B", "=", "PATH="}) {
    EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVL_LIBPATH_VARNAME", name}}),
              PlainChangesBut({}, {"KVL_BAK_"}))
        << name;
  }
}

TEST(SetInstallerEnvironment, TakesPathAsLibraryVariableAfterPathWasSet) {
  const Environment callers = {{"KVL_LIBPATH_VARNAME", "PATH"}, {"PATH", "/usr/bin"}};
  EXPECT_EQ(ChangesOf(PlainSetting(), callers),
            PlainChangesBut(
                {{"PATH", kPlainPrograms}, {"KVL_BAK_PATH", "KVL_BAK=/m/inst/x/code/bin:/usr/bin"}},
                {"KVL_BAK_"}));
}

TEST(SetInstallerEnvironment, TakesTmpDirAsLibraryVariableBeforeTempIsSet) {
  const Environment callers = {{"KVL_LIBPATH_VARNAME", "TMPDIR"}, {"TMPDIR", "/var/tmp"}};
  EXPECT_EQ(ChangesOf(PlainSetting(), callers),
            PlainChangesBut({{"TMPDIR", kPlainPrograms},
                             {"KVL_BAK_TMPDIR", "KVL_BAK=/var/tmp"},
                             {"TEMP", kPlainPrograms}},
                            {"KVL_BAK_"}));
}

TEST(SetInstallerEnvironment, TakesTheNamingVariableItselfAsLibraryVariable) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVL_LIBPATH_VARNAME", "KVL_LIBPATH_VARNAME"}}),
            PlainChangesBut({{"KVL_LIBPATH_VARNAME", kPlainPrograms},
                             {"KVL_BAK_KVL_LIBPATH_VARNAME", "KVL_BAK=KVL_LIBPATH_VARNAME"}},
                            {"KVL_BAK_"}));
}

TEST(SetInstallerEnvironment, TakesAnyVariableSetBeforeAsLibraryVariable) {
  // Among them the switches and the backups.
  for (const auto& [name, value] : PlainChanges()) {
    if (name == "KVL_BAK_" || name == "TEMP" || name == "ORBTemp" || name.starts_with("KVLIns_")) {
      continue;
    }
    EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVL_LIBPATH_VARNAME", name}}),
              PlainChangesBut({{"KVL_BAK_" + name, "KVL_BAK=" + value}, {name, kPlainPrograms}},
                              {"KVL_BAK_"}))
        << name;
  }
}

TEST(SetInstallerEnvironment, OverwritesALibraryVariableThatIsSetLater) {
  for (const std::string name :
       {"TEMP", "ORBTemp", "KVLIns_HasElevatedPrivileges", "KVLIns_IsInteractiveSession"}) {
    const Environment callers = {{"KVL_LIBPATH_VARNAME", name}, {name, "user's"}};
    EXPECT_EQ(ChangesOf(PlainSetting(), callers),
              PlainChangesBut({{"KVL_BAK_" + name, "KVL_BAK=user's"}}, {"KVL_BAK_"}))
        << name;
  }
}

TEST(SetInstallerEnvironment, TakesTheBareBackupAsLibraryVariable) {
  EXPECT_EQ(ChangesOf(PlainSetting(), {{"KVL_LIBPATH_VARNAME", "KVL_BAK_"}}),
            PlainChangesBut({{"KVL_BAK_", kPlainPrograms}, {"KVL_BAK_KVL_BAK_", "KVL_BAK="}}));
}

}  // namespace
}  // namespace kvl::test
