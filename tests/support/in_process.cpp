#include "tests/support/in_process.h"

namespace kvl::test {
namespace {

/// Thrown instead of ending the process. It is no exception class, so that no handler catches it as
/// one.
struct ProcessEnd {
  int status;
};

/// The record of the present action; null without one.
InProcessOutcome* present = nullptr;

}  // namespace

InProcessOutcome RunInProcess(const std::function<void()>& action) {
  InProcessOutcome outcome;
  const Undo end([] { present = nullptr; });
  present = &outcome;
  try {
    action();
  } catch (const ProcessEnd& process_end) {
    outcome.status = process_end.status;
  }
  return outcome;
}

}  // namespace kvl::test

// The linker defines these names; see --wrap in its manual.
extern "C" {

ssize_t __real_write(int stream, const void* data, std::size_t size);
ssize_t __wrap_write(int stream, const void* data, std::size_t size) {
  kvl::test::InProcessOutcome* const outcome = kvl::test::present;
  if (outcome == nullptr || (stream != STDOUT_FILENO && stream != STDERR_FILENO)) {
    return __real_write(stream, data, size);
  }
  std::string& text = stream == STDOUT_FILENO ? outcome->out : outcome->err;
  text.append(static_cast<const char*>(data), size);
  return static_cast<ssize_t>(size);
}

[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status) {
  if (kvl::test::present != nullptr) throw kvl::test::ProcessEnd{status};
  __real__exit(status);
}

}  // extern "C"
