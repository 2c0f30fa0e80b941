// Begins to count in a coverage build (KVL_COVERAGE). The runtime of the compiler would do so itself,
// and leave a variable in the environment, which the installer of a test would get.
#include <cstdlib>

extern "C" {
extern int __llvm_profile_runtime;
int __llvm_profile_runtime = 0;  // keeps the runtime from beginning by itself
void __llvm_profile_initialize();
}

namespace {

[[gnu::constructor]] void BeginToCount() {
  __llvm_profile_initialize();
  ::unsetenv("__LLVM_PROFILE_RT_INIT_ONCE");
}

}  // namespace
