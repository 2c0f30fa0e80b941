// What an operation of the library threw: class and whole text as one value.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct Failure {
  std::string type = {};  ///< the exact class; empty when nothing was thrown
  std::string text = {};  ///< what()

  friend bool operator==(const Failure&, const Failure&) = default;
};

std::ostream& operator<<(std::ostream& out, const Failure& failure);

inline const Failure kNoFailure = {};

/// A KVLInsException as it has to look: message, line feed.
Failure Exception(const std::string& message);
/// A KVLInsException as it has to look: message, " - ", the error's text, line feed.
Failure Exception(const std::string& message, int error);
/// The same of class KVLInsExceptionErrno.
Failure ExceptionErrno(const std::string& message, int error);

/// Operations, and what they have to throw.
using Failures = std::vector<std::pair<std::function<void()>, Failure>>;
void ExpectFailures(const Failures& rows);

/// What `action` threw.
Failure FailureOf(const std::function<void()>& action);

/// As FailureOf, with `action` in a process of its own, where it may change its surroundings.
Failure IsolatedFailureOf(const std::function<void()>& action);

}  // namespace kvl::test
