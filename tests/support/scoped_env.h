// The process environment in tests: replaced for a while, and compared as a whole.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

using Environment = std::map<std::string, std::string>;

/// Returns the whole present environment.
Environment CurrentEnvironment();

/// While it lives, the environment contains exactly the given pairs. The destructor restores the
/// old one.
class ScopedEnv : Undo {
 public:
  explicit ScopedEnv(const Environment& variables = {});
};

/// Returns every variable of `after` that `before` lacks or has with another value, and every one
/// that `after` lacks, with the value "(gone)".
Environment EnvChanges(const Environment& before, const Environment& after);

}  // namespace kvl::test
