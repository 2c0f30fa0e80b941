// An exception of an operation of the library: its class and its text as one value.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct Failure {
  std::string type = {};  ///< the exact class; empty without an exception
  std::string text = {};  ///< what()

  friend bool operator==(const Failure&, const Failure&) = default;
};

std::ostream& operator<<(std::ostream& out, const Failure& failure);

inline const Failure kNoFailure = {};

/// The expected KVLInsException: message, line feed.
Failure Exception(const std::string& message);
/// The expected KVLInsException: message, " - ", the error's text, line feed.
Failure Exception(const std::string& message, int error);
/// The same, of class KVLInsExceptionErrno.
Failure ExceptionErrno(const std::string& message, int error);

/// Operations, and the exceptions that they must throw.
using Failures = std::vector<std::pair<std::function<void()>, Failure>>;
void ExpectFailures(const Failures& rows);

/// Returns what `action` throws.
Failure FailureOf(const std::function<void()>& action);

/// Like FailureOf, but runs `action` in a process of its own, where it may change its surroundings.
Failure IsolatedFailureOf(const std::function<void()>& action);

}  // namespace kvl::test
