#include "companion/make/volume_size.h"

#include "companion/make/media_plan.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(ParseVolumeSize, TakesWholeNumbersWithPowersOf1024) {
  const std::vector<std::pair<std::string, std::uint64_t>> rows = {
      {"1", 1},
      {"300000", 300'000},
      {"007", 7},
      {"1K", 1'024},
      {"650M", 681'574'400},
      {"4G", 4'294'967'296},
      {"18446744073709551615", 18'446'744'073'709'551'615U},
      {"18014398509481983K", 18'446'744'073'709'550'592U},
      {"17179869183G", 18'446'744'072'635'809'792U},
  };
  for (const auto& [text, bytes] : rows) EXPECT_EQ(ParseVolumeSize(text), bytes) << text;
}

TEST(ParseVolumeSize, RefusesEverythingElseWithOneText) {
  std::istringstream rows(
      "|0|0K|00|-1|-5|-4M|+4M|4X|4m|4KB|4MK|4 M| 4|4 |4.7G|4,7G|0x10|1e9|K|G4|four|"
      "18446744073709551616|18014398509481984K|17592186044416M|17179869184G|"
      "99999999999999999999999");
  for (std::string text; std::getline(rows, text, '|');) {
    EXPECT_THAT([&] { ParseVolumeSize(text); },
                testing::ThrowsMessage<CannotMake>("--volume-size: no size: " + text +
                                                   " (a whole number, with K, M or G)"));
  }
}

}  // namespace
}  // namespace kvl::test
