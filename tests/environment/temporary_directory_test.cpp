#include "environment/temporary_directory.h"

#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(TemporaryDirectory, IsTmpWhenTheVariableIsUnsetOrEmpty) {
  {
    const ScopedEnv env(Environment{{"TEMP", "/elsewhere"}, {"TMP", "/elsewhere"}});
    EXPECT_EQ(TemporaryDirectory(), "/tmp");
  }
  const ScopedEnv env(Environment{{"TMPDIR", ""}});
  EXPECT_EQ(TemporaryDirectory(), "/tmp");
}

TEST(TemporaryDirectory, IsTheVariableAsItStands) {
  for (const std::string value :
       {"/var/tmp", "/var/tmp/", "a//b\\c", "\"/quoted\"", " ", "/nonexistent", "."}) {
    const ScopedEnv env(Environment{{"TMPDIR", value}});
    EXPECT_EQ(TemporaryDirectory(), value);
  }
}

}  // namespace
}  // namespace kvl::test
