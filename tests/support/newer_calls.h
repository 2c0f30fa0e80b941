// The system calls that are newer than the oldest supported kernel, and kernels or containers
// without them, for whole runs.
#pragma once

#include <sys/syscall.h>

#include "tests/support/call_filter.h"
#include "tests/support/sanitized.h"
#include "tests/support/test.h"

namespace kvl::test {

struct NewerCall {
  std::string name;
  unsigned number = 0;
};

/// The newer calls that the programs and their C library make; a number of 0 is unknown here.
inline const std::vector<NewerCall>& NewerCalls() {
  static const std::vector<NewerCall> calls = {
      {"clone3", SYS_clone3},          // the C library, for a thread of kvl-media; 5.3
      {"faccessat2", SYS_faccessat2},  // the C library, for kvl-media check; 5.8
      {"getrandom", SYS_getrandom},    // the C library, for its own heap; 3.17
      {"renameat2", SYS_renameat2},    // kvl-media make, to replace nothing; 3.15
      {"rseq", SYS_rseq},              // the C library, at the start; 4.18
  };
  return calls;
}

inline std::vector<unsigned> NumbersOfNewerCalls() {
  std::vector<unsigned> numbers;
  for (const NewerCall& call : NewerCalls()) numbers.push_back(call.number);
  return numbers;
}

/// All calls from this number on are newer than 3.2.
inline constexpr unsigned kFirstNewerCall = std::min(SYS_kcmp, SYS_finit_module);

/// A kernel or a container, and the function that puts a child into it.
struct OlderSystem {
  std::string name;
  std::function<void()> before;
};

/// Returns kernels without each of these calls, and one without any newer call, including those
/// that nobody makes now.
inline std::vector<OlderSystem> OlderSystems() {
  std::vector<OlderSystem> systems;
  for (const int error : {ENOSYS, EPERM}) {
    const unsigned answer = SECCOMP_RET_ERRNO | static_cast<unsigned>(error);
    const std::string says = std::string(" says ") + ::strerrorname_np(error);
    for (const NewerCall& call : NewerCalls()) {
      systems.push_back({call.name + says, [=] { FilterCalls({call.number}, answer); }});
    }
    systems.push_back(
        {"every newer call" + says, [=] { FilterCallsFrom(kFirstNewerCall, {}, answer); }});
  }
  return systems;
}

/// Returns a kernel on which a newer call outside of the list ends its caller.
inline OlderSystem OnlyWithTheListedCalls() {
  return {"a call that is not listed", [] {
            FilterCallsFrom(kFirstNewerCall, NumbersOfNewerCalls(), SECCOMP_RET_KILL_PROCESS);
          }};
}

}  // namespace kvl::test
