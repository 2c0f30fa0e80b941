// Runs code in this process although it may write to the console and end the process: the program
// is linked such that write and _exit go through here. Use it for code that runs a million times;
// RunIsolated of outcome.h is more realistic.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct InProcessOutcome {
  std::optional<int> status;  ///< what it would have ended the process with
  std::string out;            ///< what was written to standard output
  std::string err;            ///< and to standard error
};

/// Runs `action`; a call of _exit unwinds it. Catches only write itself, not the streams of the
/// standard library. Passes on an exception. Do not nest it.
InProcessOutcome RunInProcess(const std::function<void()>& action);

}  // namespace kvl::test
