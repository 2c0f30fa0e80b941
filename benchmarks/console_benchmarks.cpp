// Benchmarks of splitting a command's text and of making an identifier.
#include <benchmark/benchmark.h>
#include <string>

#include "console/command_split.h"
#include "console/identifier.h"

namespace {

/// Splits a text of the given length that repeats `piece`.
void SplitText(benchmark::State& state, const std::string& piece) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(state.range(0))) text += piece;
  for ([[maybe_unused]] auto round : state) benchmark::DoNotOptimize(kvl::SplitCommand(text));
  state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(SplitText, words, "word ")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(SplitText, blanks, " ")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(SplitText, quotes, "'")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(SplitText, double_quotes, "\"")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(SplitText, backslashes, "\\")->Range(64, 1 << 20)->Complexity();

void NewIdentifier(benchmark::State& state) {
  kvl::MinimalStandardGenerator generator(1);
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(kvl::NewIdentifier(generator, /*upper_case=*/true));
  }
}
BENCHMARK(NewIdentifier);

}  // namespace
