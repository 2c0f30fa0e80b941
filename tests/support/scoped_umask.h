// The umask in tests: set for a while.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, the process has this umask.
class ScopedUmask : Undo {
 public:
  explicit ScopedUmask(mode_t mask) : Undo([before = ::umask(mask)] { ::umask(before); }) {}
};

}  // namespace kvl::test
