#include "tests/insio/failure.h"

#include "insio/exceptions.h"
#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

using KVLInsIO::KVLInsException;
using KVLInsIO::KVLInsExceptionErrno;

std::string ClassOf(const std::exception& exception) {
  if (typeid(exception) == typeid(KVLInsException)) return "KVLInsException";
  if (typeid(exception) == typeid(KVLInsExceptionErrno)) return "KVLInsExceptionErrno";
  return typeid(exception).name();
}

std::string WithErrorText(const std::string& message, int error) {
  return message + " - " + std::strerror(error) + "\n";
}

Failure Caught(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& exception) {
    return {ClassOf(exception), exception.what()};
  }
  return kNoFailure;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
  return out << (failure.type.empty() ? "no failure" : failure.type) << ": " << failure.text;
}

Failure Exception(const std::string& message) {
  return {"KVLInsException", message + "\n"};
}

Failure Exception(const std::string& message, int error) {
  return {"KVLInsException", WithErrorText(message, error)};
}

Failure ExceptionErrno(const std::string& message, int error) {
  return {"KVLInsExceptionErrno", WithErrorText(message, error)};
}

void ExpectFailures(const Failures& rows) {
  for (const auto& [operation, failure] : rows) EXPECT_EQ(FailureOf(operation), failure);
}

Failure FailureOf(const std::function<void()>& action) {
  return Caught(action);
}

Failure IsolatedFailureOf(const std::function<void()>& action) {
  const Outcome outcome = RunIsolated([&action] {
    // A sanitizer opens descriptors when it meets a class for the first time, and `action` may
    // forbid that.
    Caught([] { throw KVLInsIO::KVLInsException("seen"); });
    const Failure failure = Caught(action);
    std::cout << failure.type << '\0' << failure.text;
    return 0;
  });
  const std::size_t end_of_type = outcome.out.find('\0');
  if (outcome.status != 0 || end_of_type == std::string::npos) {
    return {"ended with status " + std::to_string(outcome.status), outcome.out + outcome.err};
  }
  return {outcome.out.substr(0, end_of_type), outcome.out.substr(end_of_type + 1)};
}

}  // namespace kvl::test
