// The main program of the fuzzer for the target that the variable KVL_FUZZ_TARGET names.
#include "tests/fuzz/targets.h"

namespace kvl::test {
namespace {

FuzzFunction ChosenFunction() {
  const char* const name = std::getenv("KVL_FUZZ_TARGET");
  for (const FuzzTarget& target : kFuzzTargets) {
    if (name != nullptr && target.name == name) return target.run;
  }
  std::cerr << "KVL_FUZZ_TARGET names no target\n";
  std::exit(2);
}

}  // namespace
}  // namespace kvl::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const kvl::test::FuzzFunction run = kvl::test::ChosenFunction();
  run(data, size);
  return 0;
}
