#include "tests/support/call_filter.h"

#include <linux/filter.h>

namespace kvl::test {

namespace {

/// Statements of a filter about the number of a call.
class Filter {
 public:
  /// Gives the answer to a call whose number equals this one (BPF_JEQ), or is at least this one
  /// (BPF_JGE).
  void Answer(unsigned comparison, unsigned number, unsigned answer) {
    statements_.push_back(
        BPF_JUMP(static_cast<unsigned short>(BPF_JMP | BPF_K | comparison), number, 0, 1));
    statements_.push_back(BPF_STMT(BPF_RET | BPF_K, answer));
  }

  /// Applies the filter to this process and its descendants from now on. All other calls pass.
  void Install();

 private:
  std::vector<sock_filter> statements_ = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
};

void Filter::Install() {
  constexpr int kNoFilters = 99;
  statements_.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(statements_.size()), statements_.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    ::_exit(kNoFilters);
  }
}

}  // namespace

void FilterCalls(const std::vector<unsigned>& calls, unsigned answer) {
  Filter filter;
  for (const unsigned call : calls) filter.Answer(BPF_JEQ, call, answer);
  filter.Install();
}

void FilterCallsFrom(unsigned first, const std::vector<unsigned>& but, unsigned answer) {
  Filter filter;
  for (const unsigned call : but) filter.Answer(BPF_JEQ, call, SECCOMP_RET_ALLOW);
  filter.Answer(BPF_JGE, first, answer);
  filter.Install();
}

}  // namespace kvl::test
