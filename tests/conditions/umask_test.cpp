// Whole runs with a umask that takes permissions even from the owner of the staged files.

#include "tests/conditions/worlds.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr unsigned kRead = 0400, kWrite = 0200, kExecute = 0100;

/// Returns every umask that takes something from the owner and the usual permissions from everybody
/// else.
constexpr std::array kUsualForOthers = {0022U, 0122U, 0222U, 0322U, 0422U, 0522U, 0622U, 0722U};

class Umask : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can look at what such a umask leaves";
  }

  LaunchSeen RunWith(unsigned mask, bool as_ordinary_user) {
    world_.EmptyTmp();
    return world_.Run({.before = [&] {
      if (as_ordinary_user) EnterAsOrdinaryUser(world_.Directory());
      ::umask(mask);
    }});
  }

  /// The expected run, which stages everything but cannot start an installer that nobody may
  /// execute.
  void ExpectStaged(const LaunchSeen& seen, unsigned mask) {
    ExpectedRun expected = StagedFromExternal();
    for (const std::string& line : LinesOf(expected.left, world_, "linux")) {
      expected.left.exactly.push_back(Masked(line, mask));
    }
    std::sort(expected.left.exactly.begin(), expected.left.exactly.end());
    if ((0111 & ~mask) == 0) expected = NotStarted(expected);
    ExpectRun(world_, seen, expected);
    if (seen.child.started) {
      EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(mask));
    }
  }

  ExternalWorld world_;
};

/// Even the superuser may execute only a file with some execute permission.
TEST_F(Umask, OfTheSuperuserStagesAllAndStartsAnExecutableInstaller) {
  std::vector<unsigned> masks = {0077, 0177, 0677, 0777};
  masks.insert(masks.end(), kUsualForOthers.begin(), kUsualForOthers.end());
  for (const unsigned mask : masks) {
    SCOPED_TRACE(Masked("d 777 with the umask", mask));
    ExpectStaged(RunWith(mask, /*as_ordinary_user=*/false), mask);
  }
}

TEST_F(Umask, OfAnOrdinaryUserEndsInADirectoryThatCannotBeFilled) {
  if (const std::string why = WhyNoOrdinaryUser(world_); !why.empty()) GTEST_SKIP() << why;
  const FakeUser expected_of(65534);
  for (const unsigned mask : kUsualForOthers) {
    SCOPED_TRACE(Masked("d 777 with the umask", mask));
    // A sanitizer must look at its process, but the system hides that from a user who may not read
    // the program.
    if (kSanitized && mask == (kRead | 022)) continue;
    const LaunchSeen seen = RunWith(mask, /*as_ordinary_user=*/true);
    if ((mask & (kWrite | kExecute)) == 0) {
      ExpectStaged(seen, mask);
      continue;
    }
    ExpectedRun expected =
        FailedFromExternal("{staging}/", "mkdir - {staging}/inst - Permission denied");
    expected.left.exactly = {Masked("d 755 {staging}", mask)};
    ExpectRun(world_, seen, expected);
  }
}

}  // namespace
}  // namespace kvl::test
