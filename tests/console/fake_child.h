// The fake installer, as the child in tests of starting a process.
#pragma once

#include "tests/support/child_report.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// The status that RunIsolated shows for an action that returned -1.
inline constexpr int kMinusOneAsStatus = 255;

/// While a FakeChild lives, the environment contains `more`, and what makes the child write its
/// report.
class FakeChild {
 public:
  FakeChild(std::initializer_list<Environment::value_type> more = {})
      : FakeChild(Environment(more)) {}
  explicit FakeChild(const Environment& more);

  /// A path of the program that needs no quotes.
  std::string Program() const { return directory_.Path("installer"); }

  /// Returns what the last child wrote. Returns nothing if none started since the last call.
  ChildReport Report() const;

  const TestDirectory& Directory() const { return directory_; }

 private:
  TestDirectory directory_;
  ScopedEnv env_;
};

/// Runs a command with the launcher's own signal settings. The status is the result of RunCommand;
/// the streams include those of the child.
Outcome RunCaught(const std::string& command, bool wait = true);

/// Does the same without catching the streams, for use inside RunIsolated.
int RunBare(const std::string& command, bool wait = true);

}  // namespace kvl::test
