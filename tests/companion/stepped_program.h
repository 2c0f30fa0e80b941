// Runs code from one system call to the next, so that a test can act on it, or on its files,
// between two of them.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Whether the child goes on, or which signal it gets.
enum class Step { kGoOn = 0, kKill = SIGKILL, kInterrupt = SIGINT, kTerminate = SIGTERM };

/// System calls that change a file system, that look into it, or that wait until it is stored.
enum class Calls { kChanging, kLooking, kStoring };

/// Returns why programs cannot be traced here; the empty text if they can.
std::string WhyNoSteps();

/// Runs `action` in a child, which exits with its result. Calls `at_call` with 0, 1, ... each time
/// before the first thread of the child makes such a system call.
Outcome RunStepByStep(const std::function<int()>& action, Calls calls,
                      const std::function<Step(int call)>& at_call);

}  // namespace kvl::test
