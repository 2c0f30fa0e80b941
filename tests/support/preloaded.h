// Libraries to preload into programs with a shared C library: another clock, other inode numbers. A
// static program ignores them.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Odd times, in seconds since 1970: that moment, where a machine without a battery begins, and the
/// first moments that do not fit into 32 bits with and without a sign.
inline constexpr long kOddTimes[] = {0, 0x80000000, 0x100000000};

/// Returns the variables that stop the clock of a program.
inline Environment WithClockAt(long time) {
  return {{"LD_PRELOAD", BuiltProgram("fixed_clock.so")}, {"FIXED_CLOCK", std::to_string(time)}};
}

/// Returns the variable that gives each look at a file another inode number.
inline Environment WithOddInodes() {
  return {{"LD_PRELOAD", BuiltProgram("odd_inodes.so")}};
}

}  // namespace kvl::test
