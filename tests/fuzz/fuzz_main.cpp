// Makes a fuzzer of one target: KVL_FUZZ_TARGET is its function.
#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kvl::test::KVL_FUZZ_TARGET(data, size);
  return 0;
}
