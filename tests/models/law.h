// Laws: what holds for every input. Each is checked for one input at a time, so that random cases,
// fuzzing and stored inputs can all use the same ones. What the product gives is compared with a slow
// model of it, which is written in another way on purpose.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Thrown when a law does not hold. Ends a fuzzer, fails a test.
class LawBroken : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void Require(bool holds, std::string_view law) {
  if (!holds) throw LawBroken(std::string(law));
}

template <typename Value>
void RequireEqual(std::string_view what, const Value& seen, const Value& expected) {
  if (seen == expected) return;
  throw LawBroken(std::string(what) + "\n  seen:     " + testing::PrintToString(seen) +
                  "\n  expected: " + testing::PrintToString(expected));
}

}  // namespace kvl::test
