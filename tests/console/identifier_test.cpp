#include "console/identifier.h"

#include <chrono>

#include "tests/support/generator_twin.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

// Seeds whose first numbers lie at the borders of the range that Random16 accepts.
constexpr std::int64_t kFirstNumberIsLowest = 1407677000;          // 1
constexpr std::int64_t kFirstNumberIsLastTaken = 1637796473;       // 2147418112
constexpr std::int64_t kFirstNumberIsPassedOver = 897989826;       // 2147418113
constexpr std::int64_t kFirstTwoNumbersArePassedOver = 739806647;  // 2147483646, 2147466840

TEST(MinimalStandardGenerator, GivesTheKnownNumbersForSeedOne) {
  MinimalStandardGenerator generator(1);
  EXPECT_EQ(generator.Next(), 16807U);
  EXPECT_EQ(generator.Next(), 282475249U);
  for (int i = 3; i < 10'000; ++i) generator.Next();
  EXPECT_EQ(generator.Next(), 1043618065U);
}

TEST(MinimalStandardGenerator, SeedsItselfFromHalfOfAClockReading) {
  const std::vector<std::pair<std::int64_t, std::int64_t>> equal_seeds = {
      {0, 1},                             // a seed of 0 is replaced
      {2147483647, 1},                    // the modulus itself
      {4294967294, 1},                    // twice the modulus
      {4294967295, 1},                    // one more
      {4294967296, 1},                    // low half 0
      {4294967301, 5},                    // low half 5
      {2147483652, 5},                    // 5 behind the modulus
      {1700000000123456789, 1032178965},  // a day in November 2023
      {-1, 1},                            // low half 4294967295
  };
  for (const auto& [reading, seed] : equal_seeds) {
    EXPECT_EQ(MinimalStandardGenerator(reading).Next(), MinimalStandardGenerator(seed).Next())
        << reading;
  }
}

TEST(Random16, SkipsTheHighestNumbersOfTheGenerator) {
  const std::vector<std::pair<std::int64_t, std::uint32_t>> rows = {
      {kFirstNumberIsLowest, 0},
      {kFirstNumberIsLastTaken, 65535},
      {kFirstNumberIsPassedOver, 31924},
      {kFirstTwoNumbersArePassedOver, 56917}};
  for (const auto& [seed, number] : rows) {
    MinimalStandardGenerator generator(seed);
    EXPECT_EQ(Random16(generator), number) << seed;
  }
}

/// Returns the text in lower case.
std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return std::tolower(c); });
  return text;
}

TEST(Hex4, PadsToFourDigits) {
  const std::vector<std::pair<std::uint32_t, std::string>> rows = {
      {0, "0000"},        {1, "0001"},
      {10, "000A"},       {0xBC, "00BC"},
      {0xDEF, "0DEF"},    {0x9876, "9876"},
      {0xFFFF, "FFFF"},   {0x10000, "10000"},
      {0xABCDE, "ABCDE"}, {0xFFFFFFFF, "FFFFFFFF"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(Hex4(value, kUpperCase), text);
    EXPECT_EQ(Hex4(value, kLowerCase), Lower(text));
  }
}

TEST(AppendDash, AppendsOneDash) {
  std::string text = "A-";
  AppendDash(text);
  EXPECT_EQ(text, "A--");
}

TEST(NewIdentifier, DependsOnlyOnTheSeed) {
  const std::vector<std::pair<std::int64_t, std::string>> rows = {
      {0, "ADCB0C0B-380E-4864-B56B-C17021AC0000"},  // like the seed 1
      {1, "ADCB0C0B-380E-4864-B56B-C17021AC0000"},
      {42, "8328F9D4-3240-4050-8368-BC46864C0015"},
      {2147483646, "521A5236-F3F6-47F3-B79D-8A963E91DE55"},
      {4294967301, "64F33C38-1844-49F2-8B13-C72EA85F0002"},
      {1700000000123456789, "D50A45E9-5245-42B1-B743-6969062536B6"},
      {kFirstNumberIsLowest, "0C0B380E-8864-456B-8170-21AC00000000"},
      {kFirstNumberIsLastTaken, "EE5C827E-195E-4D15-A7BC-ABCB7CB3FFFF"},
      {kFirstNumberIsPassedOver, "4797FA68-BA8C-41C3-9280-292BCD787CB4"},
  };
  for (const auto& [seed, identifier] : rows) {
    MinimalStandardGenerator upper(seed), lower(seed);
    EXPECT_EQ(NewIdentifier(upper, kUpperCase), identifier) << seed;
    EXPECT_EQ(NewIdentifier(lower, kLowerCase), Lower(identifier)) << seed;
  }
}

TEST(NewIdentifier, HasTheFormOfAVersion4UuidAndDiffers) {
  const testing::Matcher<std::string> form =
      testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  constexpr std::size_t kCount = 200;
  std::set<std::string> identifiers;
  for (std::size_t i = 0; i < kCount; ++i) identifiers.insert(NewIdentifier(kUpperCase));
  EXPECT_THAT(identifiers, testing::Each(form));
  EXPECT_EQ(identifiers.size(), kCount);
  for (const std::string& identifier : identifiers) {
    EXPECT_TRUE(IsIdentifier(identifier, kUpperCase)) << identifier;
    EXPECT_TRUE(IsIdentifier(Lower(identifier), kLowerCase)) << identifier;
  }
}

TEST(NewIdentifier, ComesFromOneGeneratorThatIsNeverSeededAgain) {
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(NewIdentifier(kUpperCase), NewIdentifier(generator, kUpperCase));
    EXPECT_EQ(NewIdentifier(kLowerCase), NewIdentifier(generator, kLowerCase));
    EXPECT_EQ(Random16(), Random16(generator));
  }
}

std::int64_t NanosecondsNow() {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// Ends with 0 if the first identifier of the process has a seed from around its creation.
[[noreturn]] void EndWithSeedOfThisMoment() {
  const std::int64_t before = NanosecondsNow();
  const std::string identifier = NewIdentifier(kUpperCase);
  const std::int64_t after = NanosecondsNow();
  for (std::int64_t moment = before; moment <= after; ++moment) {
    MinimalStandardGenerator generator(moment);
    if (NewIdentifier(generator, kUpperCase) == identifier) std::_Exit(0);
  }
  std::_Exit(1);
}

TEST(NewIdentifier, IsSeededFromTheSystemClockOnFirstUse) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // starts the test program anew
  EXPECT_EXIT(EndWithSeedOfThisMoment(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace kvl::test
