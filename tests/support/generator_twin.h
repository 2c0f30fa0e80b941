// The identifiers that this process is going to make.
#pragma once

#include "console/identifier.h"

namespace kvl::test {

/// A generator that goes on as the one of this process will, found out from some numbers that the
/// latter is asked for. A child that is forked now starts with the same ones.
MinimalStandardGenerator TwinOfTheProcessGenerator();

}  // namespace kvl::test
