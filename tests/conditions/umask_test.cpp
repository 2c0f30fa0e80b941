// Whole runs with a umask that takes permissions from the owner of what is staged, too.

#include "tests/conditions/external_world.h"
#include "tests/conditions/ordinary_user.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr unsigned kRead = 0400, kWrite = 0200, kExecute = 0100;

/// A line that describes an entry made with the umask 022, with the mode that this umask leaves.
std::string Masked(const std::string& line, unsigned mask) {
  const std::size_t behind_mode = line.find(' ', 2);
  const unsigned mode = static_cast<unsigned>(std::stoul(line.substr(2), nullptr, 8));
  std::ostringstream masked;
  masked << line.substr(0, 2) << std::oct << (mode & ~mask) << line.substr(behind_mode);
  return masked.str();
}

/// Every umask that takes this from the group and from others.
std::vector<unsigned> UmasksWith(unsigned group_and_others) {
  std::vector<unsigned> masks;
  for (unsigned owner = 0; owner < 8; ++owner) masks.push_back(owner << 6 | group_and_others);
  return masks;
}

class Umask : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can look at what such a umask leaves";
  }

  /// The run that stages everything, and cannot start the installer if nobody may execute it.
  void ExpectStaged(const LaunchSeen& seen, unsigned mask, bool is_executable) {
    ExpectedRun expected = StagedFromExternal();
    for (const std::string& line : LinesOf(expected.left, world_, "linux")) {
      expected.left.exactly.push_back(Masked(line, mask));
    }
    std::sort(expected.left.exactly.begin(), expected.left.exactly.end());
    if (!is_executable) {
      expected.status = 255;
      expected.err += SaysCannotWait(CommandOf(expected.arguments));
      expected.arguments = {};
    }
    ExpectRun(world_, seen, expected);
    if (seen.child.started) {
      EXPECT_EQ(seen.child.facts.at("umask"), std::to_string(mask));
    }
  }

  ExternalWorld world_;
};

/// Who may do everything still needs somebody's permission to execute.
TEST_F(Umask, OfTheSuperuserStagesEverythingAndStartsWhatAnybodyMayExecute) {
  for (const unsigned group_and_others : {022U, 077U}) {
    for (const unsigned mask : UmasksWith(group_and_others)) {
      SCOPED_TRACE(Masked("  777 of", mask));
      world_.EmptyTmp();
      const LaunchSeen seen = world_.Run({.before = [&] { ::umask(mask); }});
      ExpectStaged(seen, mask, (0111 & ~mask) != 0);
    }
  }
}

TEST_F(Umask, OfAnOrdinaryUserEndsTheStagingInADirectoryThatCannotBeFilled) {
  if (const std::string why = WhyNoOrdinaryUser(world_); !why.empty()) GTEST_SKIP() << why;
  const FakeUser expected_of(65534);
  for (const unsigned mask : UmasksWith(022)) {
    SCOPED_TRACE(Masked("  777 of", mask));
    // A sanitizer has to look at its process, which is closed to those who may not read its program.
    if (kSanitized && mask == (kRead | 022)) continue;
    world_.EmptyTmp();
    const LaunchSeen seen = world_.Run({.before = [&] {
      BecomeOrdinaryUser(world_);
      ::umask(mask);
    }});
    if ((mask & (kWrite | kExecute)) == 0) {
      ExpectStaged(seen, mask, /*is_executable=*/true);
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
