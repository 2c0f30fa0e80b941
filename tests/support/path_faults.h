// The failures of system_faults.h that are about a path.
#pragma once

#include "tests/support/system_faults.h"

namespace kvl::test {

using FailingPath = FailingCall;

}  // namespace kvl::test
