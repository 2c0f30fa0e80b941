#include "launcher/run_steps.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

TEST(ExportVolumePaths, SetsNothingUnlessTheCodeIsANumberOfVolumes) {
  const Environment before = {{"KVLAdmInstVolumePath_2", "left as it was"}};
  const ScopedEnv env(before);
  for (const int code : {-1, 0, 1}) {
    ExportVolumePaths(code, {"/m/2", "/m/3"});
    EXPECT_EQ(CurrentEnvironment(), before) << code;
  }
}

TEST(ExportVolumePaths, SetsAVariableForEachPathFromTwoVolumesOn) {
  for (const int code : {2, 4}) {
    const ScopedEnv env(Environment{{"KVLAdmInstVolumePath_2", "replaced"},
                                    {"KVLAdmInstVolumePath_5", "left as it was"}});
    ExportVolumePaths(code, {"/m/2", "/m/3", "/m/4"});
    EXPECT_EQ(CurrentEnvironment(), (Environment{{"KVLAdmInstVolumePath_2", "/m/2"},
                                                 {"KVLAdmInstVolumePath_3", "/m/3"},
                                                 {"KVLAdmInstVolumePath_4", "/m/4"},
                                                 {"KVLAdmInstVolumePath_5", "left as it was"}}))
        << code;
  }
}

TEST(ExportVolumePaths, SetsNothingWithoutAPath) {
  const ScopedEnv env;
  ExportVolumePaths(2, {});
  EXPECT_EQ(CurrentEnvironment(), Environment{});
}

}  // namespace
}  // namespace kvl::test
