#include "console/identity.h"

#include <sys/utsname.h>

#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr unsigned kSuperuser = 0;

/// In a process in which nobody has asked yet: the answer for one user, then, now that it is
/// remembered, the answer for another. Ends with 0 when they are the ones expected.
[[noreturn]] void EndWithAnswers(unsigned user, bool expected, unsigned later_user) {
  bool first, later;
  {
    const FakeUser fake(user);
    first = HasElevatedPrivileges();
  }
  {
    const FakeUser fake(later_user);
    later = HasElevatedPrivileges();
  }
  std::_Exit(first == expected && later == expected ? 0 : 1);
}

/// The answer is given once per process, so a test of it starts the test program anew.
void StartProgramAnewForEachExpectation() {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
}

TEST(HasElevatedPrivileges, IsTrueForTheSuperuserAndStaysTrue) {
  StartProgramAnewForEachExpectation();
  EXPECT_EXIT(EndWithAnswers(kSuperuser, true, 1000), testing::ExitedWithCode(0), "");
}

TEST(HasElevatedPrivileges, IsFalseForAnyOtherRealUserAndStaysFalse) {
  StartProgramAnewForEachExpectation();
  for (const unsigned user : {1U, 1000U, 65534U, 4294967294U}) {
    EXPECT_EXIT(EndWithAnswers(user, false, kSuperuser), testing::ExitedWithCode(0), "") << user;
  }
}

TEST(GetHostName, IsTheNodeNameOfTheSystem) {
  utsname system;
  ASSERT_EQ(::uname(&system), 0);
  EXPECT_EQ(GetHostName(), system.nodename);
}

TEST(GetHostName, GivesANameOfTheGreatestLengthWhole) {
  constexpr int kNotAllowed = 2;
  const std::string longest(64, 'h');
  const Outcome outcome = RunIsolated([&] {
    if (::unshare(CLONE_NEWUTS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWUTS) != 0) {
      return kNotAllowed;
    }
    if (::sethostname(longest.data(), longest.size()) != 0) return kNotAllowed;
    return GetHostName() == longest ? 0 : 1;
  });
  if (outcome.status == kNotAllowed) GTEST_SKIP() << "the system allows no host name of our own";
  EXPECT_EQ(outcome.status, 0);
}

TEST(GetHostName, IsEmptyWithoutAMessageWhenTheSystemRefuses) {
  const FailingCall failing(FailingCall::kGetHostName, EFAULT);
  std::string name = "not empty";
  const Outcome said = Catch([&] { name = GetHostName(); });
  EXPECT_EQ(name, "");
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, "");
}

}  // namespace
}  // namespace kvl::test
