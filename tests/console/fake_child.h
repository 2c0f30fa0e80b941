// The fake installer as the child of the process start under test.
#pragma once

#include "tests/support/child_report.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// How RunIsolated shows an action that returned -1.
inline constexpr int kMinusOneAsStatus = 255;

/// While it lives, the environment holds what makes the child write its report, and `more`.
class FakeChild {
 public:
  FakeChild(std::initializer_list<Environment::value_type> more = {})
      : FakeChild(Environment(more)) {}
  explicit FakeChild(const Environment& more);

  /// A path of the program that needs no quotes.
  std::string Program() const { return directory_.Path("installer"); }

  /// What the one started last wrote. Nothing when none was started since the last call.
  ChildReport Report() const;

  const TestDirectory& Directory() const { return directory_; }

 private:
  TestDirectory directory_;
  ScopedEnv env_;
};

/// Runs a command with signal settings of the launcher's own, as the launcher does. The status is
/// what RunCommand returned; the streams are those of its child, too.
Outcome RunCaught(const std::string& command, bool wait = true);

/// The same without catching the streams, for use inside RunIsolated.
int RunBare(const std::string& command, bool wait = true);

}  // namespace kvl::test
