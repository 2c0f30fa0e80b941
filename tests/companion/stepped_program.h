// Runs a program from one system call to the next, to do something to it, or to its files, between
// any two of those that matter.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

enum class Step { kGoOn, kKill };

/// Calls that change a file system, or that find out what is in it.
enum class Calls { kChanging, kLooking };

/// Why no program can be run so here; empty when it can.
std::string WhyNoSteps();

/// Calls `at_call` with 0, 1, ... each time when the program is about to make such a system call, and
/// runs it to its end. Standard input and `before` are not for this.
Outcome RunStepByStep(const ProgramStart& start, Calls calls,
                      const std::function<Step(int call)>& at_call);

}  // namespace kvl::test
