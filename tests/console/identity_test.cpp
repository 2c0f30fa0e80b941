#include "console/identity.h"

#include <sys/utsname.h>

#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

bool AnswerFor(unsigned user) {
  const FakeUser fake(user);
  return HasElevatedPrivileges();
}

/// Ends with 0 if these are the answers for one user and then, because the first one is remembered,
/// for another user.
[[noreturn]] void EndWithAnswers(unsigned user, bool expected, unsigned later_user) {
  std::_Exit(AnswerFor(user) == expected && AnswerFor(later_user) == expected ? 0 : 1);
}

TEST(HasElevatedPrivileges, IsTrueForTheSuperuserOnlyAndRemembered) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process in which nobody has asked yet
  EXPECT_EXIT(EndWithAnswers(0, true, 1000), testing::ExitedWithCode(0), "");
  for (const unsigned user : {1U, 4294967294U}) {
    EXPECT_EXIT(EndWithAnswers(user, false, 0), testing::ExitedWithCode(0), "") << user;
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
    const bool has_own =
        ::unshare(CLONE_NEWUTS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWUTS) == 0;
    if (!has_own || ::sethostname(longest.data(), longest.size()) != 0) return kNotAllowed;
    return GetHostName() == longest ? 0 : 1;
  });
  if (outcome.status == kNotAllowed) GTEST_SKIP() << "the system allows no host name of our own";
  EXPECT_EQ(outcome.status, 0);
}

TEST(GetHostName, IsEmptyWithoutAMessageWhenTheSystemRefuses) {
  const FailingCall failing(FailingCall::kGetHostName, EFAULT);
  std::string name = "not empty";
  EXPECT_EQ(Catch([&] { name = GetHostName(); }), Outcome());
  EXPECT_EQ(name, "");
}

}  // namespace
}  // namespace kvl::test
