#include "tests/conditions/own_mounts.h"

#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// What is mounted where, as this thread sees it.
std::string Mounts() {
  return ReadFile("/proc/thread-self/mounts");
}

using OwnMounts = OwnMountsTest;

TEST_F(OwnMounts, AreSeenByThreadAndProgramsAndEndWithTheirObject) {
  const TestDirectory directory;
  const std::string file = directory.Write("covered", "");
  RunWithOwnMounts([&] {
    const std::string before = Mounts();
    {
      const MemoryMount mount(directory.Path(), "size=64k");
      EXPECT_FALSE(fs::exists(file));
      EXPECT_EQ(RunProgram({{"/bin/sh", "-c", "test -e " + file}}).status, 1);
    }
    EXPECT_EQ(Mounts(), before);
  });
}

TEST_F(OwnMounts, AreSeenByNobodyElseEvenAfterAnException) {
  const TestDirectory directory;
  const std::string before = Mounts();
  const auto fail = [&] {
    const MemoryMount mount(directory.Path(), "size=64k");
    throw std::logic_error("in the middle");
  };
  EXPECT_THROW(RunWithOwnMounts(fail), std::logic_error);
  EXPECT_EQ(Mounts(), before);
}

}  // namespace
}  // namespace kvl::test
