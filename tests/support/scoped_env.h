// The process environment in tests: set aside for a while, and compared as a whole.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

using Environment = std::map<std::string, std::string>;

/// The whole environment of this moment.
Environment CurrentEnvironment();

/// While it lives, the environment holds exactly the pairs given; then the old one is back.
class ScopedEnv : Undo {
 public:
  explicit ScopedEnv(const Environment& variables = {});
};

/// Every variable of `after` that `before` does not hold with the same value, and with the value
/// "(gone)" every one that `after` lacks.
Environment EnvChanges(const Environment& before, const Environment& after);

}  // namespace kvl::test
