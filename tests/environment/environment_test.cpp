#include "environment/environment.h"

#include "environment/temporary_directory.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

TEST(GetEnv, IsTheValueAsItStands) {
  for (const std::string value : {"value", " a  b ", "x=y", "=", "\n", "\xFF", ""}) {
    const ScopedEnv env(Environment{{"FOO", value}, {"FOO2", "other"}});
    EXPECT_EQ(GetEnv("FOO"), value);
  }
}

TEST(GetEnv, OfAnUnsetVariableOrAnEmptyNameIsEmpty) {
  const ScopedEnv env(Environment{{"FOO2", "longer"}, {"FO", "shorter"}, {"foo", "small"}});
  for (const std::string name : {"FOO", "UNSET", ""}) EXPECT_EQ(GetEnv(name), "") << name;
}

/// Returns every variable that the call changes.
Environment ChangesOf(const Environment& before, const std::function<void()>& call) {
  const ScopedEnv env(before);
  call();
  return EnvChanges(before, CurrentEnvironment());
}

TEST(SetEnv, SetsOrReplacesTheVariable) {
  for (const std::string name : {"NEW", "OLD", "not a usual name"}) {
    for (const std::string value : {"value", "", " x=y\n"}) {
      EXPECT_EQ(ChangesOf({{"OLD", "old"}, {"A", "1"}}, [&] { SetEnv(name, value); }),
                (Environment{{name, value}}));
    }
  }
}

TEST(SetEnv, ChangesNothingForAnEmptyOrRefusedName) {
  for (const std::string name : {"", "=", "=x", "x=", "A=B", "OLD="}) {
    EXPECT_EQ(ChangesOf({{"OLD", "old"}, {"A", "1"}}, [&] { SetEnv(name, "value"); }),
              Environment());
  }
}

TEST(BackupEnv, RecordsTheLatestValueUnderADerivedName) {
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
      {"FOO", {{"FOO", "1"}, {"KVL_BAK_FOO", "KVL_BAK=0"}}, {{"KVL_BAK_FOO", "KVL_BAK=1"}}},
      {"KVL_BAK_FOO", {{"KVL_BAK_FOO", "1"}}, {{"KVL_BAK_KVL_BAK_FOO", "KVL_BAK=1"}}},
      {"A=B", {{"A", "1"}}, {}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ChangesOf(row.before, [&] { BackupEnv(row.name); }), row.changes) << row.name;
  }
}

TEST(TemporaryDirectory, IsTMPDIRAsItStandsOrSlashTmp) {
  for (const std::string value :
       {"/var/tmp", "/var/tmp/", "a//b\\c", "\"/quoted\"", " ", "/nonexistent", "."}) {
    const ScopedEnv env(Environment{{"TMPDIR", value}});
    EXPECT_EQ(TemporaryDirectory(), value);
  }
  for (const Environment& none :
       {Environment{{"TEMP", "/elsewhere"}, {"TMP", "/elsewhere"}}, Environment{{"TMPDIR", ""}}}) {
    const ScopedEnv env(none);
    EXPECT_EQ(TemporaryDirectory(), "/tmp");
  }
}

}  // namespace
}  // namespace kvl::test
