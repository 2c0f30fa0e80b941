// The umask in tests: set for a while.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, the process has this umask.
class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : before_(::umask(mask)) {}
  ~ScopedUmask() { ::umask(before_); }
  ScopedUmask(const ScopedUmask&) = delete;
  ScopedUmask& operator=(const ScopedUmask&) = delete;

 private:
  mode_t before_;
};

}  // namespace kvl::test
