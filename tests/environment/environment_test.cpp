#include "environment/environment.h"

#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(GetEnv, IsTheValueAsItStands) {
  for (const std::string value : {"value", " a  b ", "x=y", "=", "\n", "\xFF"}) {
    const ScopedEnv env(Environment{{"FOO", value}, {"FOO2", "other"}});
    EXPECT_EQ(GetEnv("FOO"), value);
  }
}

TEST(GetEnv, CannotTellAnUnsetVariableFromAnEmptyOne) {
  const ScopedEnv env(Environment{{"EMPTY", ""}});
  EXPECT_EQ(GetEnv("EMPTY"), "");
  EXPECT_EQ(GetEnv("UNSET"), "");
}

TEST(GetEnv, OfAnEmptyNameIsEmpty) {
  const ScopedEnv env(Environment{{"A", "1"}});
  EXPECT_EQ(GetEnv(""), "");
}

TEST(GetEnv, IsNotMisledByNamesThatBeginAlike) {
  const ScopedEnv env(Environment{{"FOO2", "longer"}, {"FO", "shorter"}, {"foo", "small"}});
  EXPECT_EQ(GetEnv("FOO"), "");
}

/// Every variable that setting this one changes.
Environment ChangesOfSetting(const std::string& name, const std::string& value) {
  const ScopedEnv env(Environment{{"OLD", "old"}, {"A", "1"}});
  const Environment before = CurrentEnvironment();
  SetEnv(name, value);
  return EnvChanges(before, CurrentEnvironment());
}

TEST(SetEnv, SetsOrReplacesTheVariable) {
  EXPECT_EQ(ChangesOfSetting("NEW", "value"), (Environment{{"NEW", "value"}}));
  EXPECT_EQ(ChangesOfSetting("NEW", ""), (Environment{{"NEW", ""}}));
  EXPECT_EQ(ChangesOfSetting("NEW", " x=y\n"), (Environment{{"NEW", " x=y\n"}}));
  EXPECT_EQ(ChangesOfSetting("OLD", "value"), (Environment{{"OLD", "value"}}));
  EXPECT_EQ(ChangesOfSetting("OLD", ""), (Environment{{"OLD", ""}}));
  EXPECT_EQ(ChangesOfSetting("not a usual name", "1"), (Environment{{"not a usual name", "1"}}));
}

TEST(SetEnv, ChangesNothingForAnEmptyName) {
  EXPECT_EQ(ChangesOfSetting("", "value"), Environment{});
}

TEST(SetEnv, ChangesNothingForANameThatTheSystemRefuses) {
  for (const std::string name : {"=", "=x", "x=", "A=B", "OLD="}) {
    EXPECT_EQ(ChangesOfSetting(name, "value"), Environment{}) << name;
  }
}

/// Every variable that backing this one up changes.
Environment ChangesOfBackup(const std::string& name, const Environment& variables) {
  const ScopedEnv env(variables);
  BackupEnv(name);
  return EnvChanges(variables, CurrentEnvironment());
}

TEST(BackupEnv, RecordsTheValueUnderADerivedName) {
  struct Row {
    std::string name;
    Environment before, changes;
  };
  const std::vector<Row> rows = {
      {"PATH", {{"PATH", "/usr/bin"}}, {{"KVL_BAK_PATH", "KVL_BAK=/usr/bin"}}},
      {"FOO", {}, {{"KVL_BAK_FOO", "KVL_BAK="}}},
      {"FOO", {{"FOO", ""}}, {{"KVL_BAK_FOO", "KVL_BAK="}}},
      {"FOO", {{"FOO", " x=y:z "}}, {{"KVL_BAK_FOO", "KVL_BAK= x=y:z "}}},
      {"", {{"FOO", "1"}}, {{"KVL_BAK_", "KVL_BAK="}}},
      {"FOO", {{"FOO", "1"}, {"KVL_BAK_FOO", "old"}}, {{"KVL_BAK_FOO", "KVL_BAK=1"}}},
      {"KVL_BAK_FOO", {{"KVL_BAK_FOO", "1"}}, {{"KVL_BAK_KVL_BAK_FOO", "KVL_BAK=1"}}},
      {"A=B", {{"A", "1"}}, {}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ChangesOfBackup(row.name, row.before), row.changes) << row.name;
  }
}

TEST(BackupEnv, HoldsTheValueOfTheLatestBackup) {
  const ScopedEnv env(Environment{{"FOO", "first"}});
  BackupEnv("FOO");
  SetEnv("FOO", "second");
  EXPECT_EQ(GetEnv("KVL_BAK_FOO"), "KVL_BAK=first");
  BackupEnv("FOO");
  EXPECT_EQ(CurrentEnvironment(),
            (Environment{{"FOO", "second"}, {"KVL_BAK_FOO", "KVL_BAK=second"}}));
}

}  // namespace
}  // namespace kvl::test
