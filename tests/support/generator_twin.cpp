#include "tests/support/generator_twin.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The generators that would have given these numbers one after the other.
std::vector<MinimalStandardGenerator> GeneratorsThatGave(const std::vector<std::uint32_t>& given) {
  constexpr std::uint32_t kNumbersPerResult = 32767;
  std::vector<MinimalStandardGenerator> found;
  for (std::uint32_t i = 1; i <= kNumbersPerResult; ++i) {
    MinimalStandardGenerator generator(given.front() * kNumbersPerResult + i);
    const auto gives_next = [&](std::uint32_t number) { return Random16(generator) == number; };
    if (std::all_of(given.begin() + 1, given.end(), gives_next)) found.push_back(generator);
  }
  return found;
}

}  // namespace

MinimalStandardGenerator TwinOfTheProcessGenerator() {
  std::vector<std::uint32_t> given;
  for (int i = 0; i < 5; ++i) given.push_back(Random16());
  const std::vector<MinimalStandardGenerator> generators = GeneratorsThatGave(given);
  if (generators.size() != 1) throw std::runtime_error("the process has no generator of its own");
  return generators.front();
}

}  // namespace kvl::test
