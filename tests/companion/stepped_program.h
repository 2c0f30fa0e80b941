// Runs a piece of code from one system call to the next, to do something to it, or to its files,
// between any two of those that matter.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Or the signal that is sent.
enum class Step { kGoOn = 0, kKill = SIGKILL, kInterrupt = SIGINT, kTerminate = SIGTERM };

/// Calls that change a file system, that find out what is in it, or that wait until it is stored.
enum class Calls { kChanging, kLooking, kStoring };

/// Why nothing can be run so here; empty when it can.
std::string WhyNoSteps();

/// Runs `action` to its end in a child of its own, whose status is its result, and calls `at_call`
/// with 0, 1, ... each time when the child is about to make such a system call.
Outcome RunStepByStep(const std::function<int()>& action, Calls calls,
                      const std::function<Step(int call)>& at_call);

}  // namespace kvl::test
