// Filters for the system calls of a process.
#pragma once

#include <linux/seccomp.h>

#include "tests/support/test.h"

namespace kvl::test {

/// Gives these system calls the answer of a seccomp filter, such as SECCOMP_RET_ERRNO | EPERM, from
/// now on in this process and its descendants. Needs no rights. Ends the process if the system has
/// no such filters.
void FilterCalls(const std::vector<unsigned>& calls, unsigned answer);

/// Does the same for all calls with this number or a higher one, except some. The system numbers
/// its calls in the order in which it gets them.
void FilterCallsFrom(unsigned first, const std::vector<unsigned>& but, unsigned answer);

}  // namespace kvl::test
