#include "tests/support/generator_twin.h"

#include "tests/support/test.h"

namespace kvl::test {

MinimalStandardGenerator TwinOfTheProcessGenerator() {
  constexpr std::uint32_t kNumbersPerResult = 32767;
  const std::array given = {Random16(), Random16(), Random16(), Random16(), Random16()};
  std::vector<MinimalStandardGenerator>
      found;  // all generators that would have given these numbers
  for (std::uint32_t i = 1; i <= kNumbersPerResult; ++i) {
    MinimalStandardGenerator generator(given.front() * kNumbersPerResult + i);
    const auto gives_next = [&](std::uint32_t number) { return Random16(generator) == number; };
    if (std::all_of(given.begin() + 1, given.end(), gives_next)) found.push_back(generator);
  }
  if (found.size() != 1) throw std::runtime_error("the process has no generator of its own");
  return found.front();
}

}  // namespace kvl::test
