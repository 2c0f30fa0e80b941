// Runs a piece of code in this process although it may write to the console and end the process:
// the program is linked so that write and _exit go through here. For what is to run a million times;
// RunIsolated of outcome.h is nearer to reality.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct InProcessOutcome {
  std::optional<int> status;  ///< what it would have ended the process with
  std::string out;            ///< what was written to standard output
  std::string err;            ///< and to standard error
};

/// Runs `action`; a call of _exit unwinds it. Only write itself is caught, not streams of the
/// language's library. An exception passes through. Not to be nested.
InProcessOutcome RunInProcess(const std::function<void()>& action);

}  // namespace kvl::test
