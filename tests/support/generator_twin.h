// The identifiers that this process will draw next.
#pragma once

#include "console/identifier.h"

namespace kvl::test {

/// Returns a generator with the state of this process's one, which it finds out from some of its
/// numbers. A child that is forked now starts with the same state.
MinimalStandardGenerator TwinOfTheProcessGenerator();

}  // namespace kvl::test
