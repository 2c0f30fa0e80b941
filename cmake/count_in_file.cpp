// Starts the counting in a coverage build (KVL_COVERAGE). The compiler's runtime would do so
// itself, but would leave a variable in the environment, and the installer of a test would inherit
// it.
#include <cstdlib>

extern "C" {
extern int __llvm_profile_runtime;
int __llvm_profile_runtime = 0;  // keeps the runtime from starting by itself
void __llvm_profile_initialize();
}

namespace {

[[gnu::constructor]] void BeginToCount() {
  __llvm_profile_initialize();
  ::unsetenv("__LLVM_PROFILE_RT_INIT_ONCE");
}

}  // namespace
