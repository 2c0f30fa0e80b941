// Tests every stored input of every target, so that a fixed mistake does not come back.

#include "tests/fuzz/targets.h"
#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

class Corpus : public testing::TestWithParam<FuzzTarget> {};

TEST_P(Corpus, ObeysEveryLaw) {
  const fs::path directory = SourceFile("tests/fuzz/corpus/" + GetParam().name);
  std::size_t inputs = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    const std::string input = ReadFile(entry.path());
    ++inputs;
    try {
      GetParam().run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    } catch (const std::exception& broken) {
      ADD_FAILURE() << entry.path() << ": " << broken.what();
    }
  }
  EXPECT_GT(inputs, 0U) << "no input in " << directory;
}

INSTANTIATE_TEST_SUITE_P(Of, Corpus, testing::ValuesIn(kFuzzTargets),
                         [](const auto& given) { return given.param.name; });

}  // namespace
}  // namespace kvl::test
