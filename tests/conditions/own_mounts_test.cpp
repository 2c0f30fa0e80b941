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

class OwnMounts : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  }

  TestDirectory directory_;
};

TEST_F(OwnMounts, AreSeenByTheThreadAndItsProgramsAndByNobodyElse) {
  const std::string file = directory_.Write("covered", "");
  const std::string before = Mounts();
  RunWithOwnMounts([&] {
    const MemoryMount mount(directory_.Path(), "size=64k");
    EXPECT_NE(Mounts(), before);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(RunProgram({{"/bin/sh", "-c", "test -e " + file}}).status, 1);
  });
  EXPECT_EQ(Mounts(), before);
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(OwnMounts, EndWithTheirObject) {
  RunWithOwnMounts([&] {
    const std::string before = Mounts();
    { const MemoryMount mount(directory_.Path(), "size=64k"); }
    EXPECT_EQ(Mounts(), before);
  });
}

TEST_F(OwnMounts, EndWithAnException) {
  const std::string before = Mounts();
  EXPECT_THROW(RunWithOwnMounts([&] {
                 const MemoryMount mount(directory_.Path(), "size=64k");
                 throw std::logic_error("in the middle");
               }),
               std::logic_error);
  EXPECT_EQ(Mounts(), before);
}

TEST_F(OwnMounts, CanBecomeReadOnly) {
  RunWithOwnMounts([&] {
    const MemoryMount mount(directory_.Path(), "size=64k");
    directory_.Write("file", "");
    mount.MakeReadOnly();
    EXPECT_THROW(directory_.Write("another", ""), std::runtime_error);
  });
}

}  // namespace
}  // namespace kvl::test
