// System calls of a process that do not get through as they are.
#pragma once

#include <linux/seccomp.h>

#include "tests/support/test.h"

namespace kvl::test {

/// From here on, in this process and those that come from it, these system calls get the answer of a
/// seccomp filter, such as SECCOMP_RET_ERRNO | EPERM. Needs no rights, and ends the process where there
/// are no such filters.
void FilterCalls(const std::vector<unsigned>& calls, unsigned answer);

/// The same for all calls with this number or a higher one, but for some of them. The system numbers its
/// calls as they come.
void FilterCallsFrom(unsigned first, const std::vector<unsigned>& but, unsigned answer);

}  // namespace kvl::test
