// What programs are started with that have the C library beside them: another clock, other inode
// numbers. A static program takes no notice.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// In seconds since 1970, where a machine without a battery begins: that moment, and the next ones after
/// which 32 bits, with a sign and without one, are too few.
inline constexpr long kOddTimes[] = {0, 0x80000000, 0x100000000};

/// Variables that stop the clock of a program.
inline Environment WithClockAt(long time) {
  return {{"LD_PRELOAD", BuiltProgram("fixed_clock.so")}, {"FIXED_CLOCK", std::to_string(time)}};
}

/// A variable that has each look at a file find another inode number.
inline Environment WithOddInodes() {
  return {{"LD_PRELOAD", BuiltProgram("odd_inodes.so")}};
}

}  // namespace kvl::test
