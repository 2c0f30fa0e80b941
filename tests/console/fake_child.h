// The fake installer as the child of the process start under test.
#pragma once

#include "tests/support/child_report.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// How RunIsolated shows an action that returned -1.
inline constexpr int kMinusOneAsStatus = 255;

class FakeChild {
 public:
  FakeChild();

  /// A path of the program that needs no quotes.
  std::string Program() const;

  /// The variables that make it write its report, and more.
  Environment Env(Environment more = {}) const;

  /// What the one started last wrote. Nothing when none was started since the last call.
  ChildReport Report() const;

  const TestDirectory& Directory() const { return directory_; }

 private:
  TestDirectory directory_;
};

/// What RunCommand returned, and said on the two streams together with its child.
struct Ran {
  int code;
  std::string out, err;
};

/// Runs a command with signal settings of the launcher's own, as the launcher does.
Ran RunCaught(const std::string& command, bool wait = true);

/// The same without catching the streams, for use inside RunIsolated.
int RunBare(const std::string& command, bool wait = true);

}  // namespace kvl::test
