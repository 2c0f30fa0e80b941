#include "console/identifier.h"

#include <chrono>

#include "tests/support/generator_twin.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using testing::MatchesRegex;

constexpr char kUpperCaseForm[] =
    "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}";
constexpr char kLowerCaseForm[] =
    "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}";

// Seeds whose first numbers lie at the borders of what Random16 takes.
constexpr std::int64_t kFirstNumberIsLowest = 1407677000;          // 1
constexpr std::int64_t kFirstNumberIsLastTaken = 1637796473;       // 2147418112
constexpr std::int64_t kFirstNumberIsPassedOver = 897989826;       // 2147418113
constexpr std::int64_t kFirstTwoNumbersArePassedOver = 739806647;  // 2147483646, 2147466840

TEST(MinimalStandardGenerator, GivesTheKnownNumbersForSeedOne) {
  MinimalStandardGenerator generator(1);
  std::vector<std::uint32_t> numbers;
  for (int i = 0; i < 5; ++i) numbers.push_back(generator.Next());
  EXPECT_THAT(numbers, ElementsAre(16807U, 282475249U, 1622650073U, 984943658U, 1144108930U));
}

TEST(MinimalStandardGenerator, GivesTheKnownTenThousandthNumber) {
  MinimalStandardGenerator generator(1);
  for (int i = 1; i < 10'000; ++i) generator.Next();
  EXPECT_EQ(generator.Next(), 1043618065U);
}

TEST(MinimalStandardGenerator, SeedsItselfFromTheLowHalfOfAClockReading) {
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

TEST(Random16, GivesTheKnownNumbersForSeedOne) {
  MinimalStandardGenerator generator(1);
  std::vector<std::uint32_t> numbers;
  for (int i = 0; i < 8; ++i) numbers.push_back(Random16(generator));
  EXPECT_THAT(numbers, ElementsAre(0U, 8620U, 49520U, 30059U, 34916U, 14350U, 3083U, 44491U));
}

TEST(Random16, PassesOverTheLastNumbersOfTheGenerator) {
  struct Row {
    std::int64_t seed;
    std::uint32_t number;
  };
  const std::vector<Row> rows = {{kFirstNumberIsLowest, 0},
                                 {kFirstNumberIsLastTaken, 65535},
                                 {kFirstNumberIsPassedOver, 31924},
                                 {kFirstTwoNumbersArePassedOver, 56917}};
  for (const Row& row : rows) {
    MinimalStandardGenerator generator(row.seed);
    EXPECT_EQ(Random16(generator), row.number) << row.seed;
  }
}

TEST(Hex4, PadsToFourDigits) {
  struct Row {
    std::uint32_t value;
    std::string upper, lower;
  };
  const std::vector<Row> rows = {
      {0, "0000", "0000"},         {1, "0001", "0001"},
      {10, "000A", "000a"},        {0xBC, "00BC", "00bc"},
      {0xDEF, "0DEF", "0def"},     {0x9876, "9876", "9876"},
      {0xFFFF, "FFFF", "ffff"},    {0x10000, "10000", "10000"},
      {0x12345, "12345", "12345"}, {0xFFFFFFFF, "FFFFFFFF", "ffffffff"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Hex4(row.value, kUpperCase), row.upper);
    EXPECT_EQ(Hex4(row.value, kLowerCase), row.lower);
  }
}

TEST(AppendDash, AppendsOneDash) {
  std::string text;
  AppendDash(text);
  EXPECT_EQ(text, "-");
  AppendDash(text);
  EXPECT_EQ(text, "--");
}

TEST(NewIdentifier, IsFixedByTheSeed) {
  struct Row {
    std::int64_t seed;
    std::string upper, lower;
  };
  const std::vector<Row> rows = {
      {0, "ADCB0C0B-380E-4864-B56B-C17021AC0000", "adcb0c0b-380e-4864-b56b-c17021ac0000"},
      {1, "ADCB0C0B-380E-4864-B56B-C17021AC0000", "adcb0c0b-380e-4864-b56b-c17021ac0000"},
      {2, "5B941816-701C-40C6-AAD6-82DF43590001", "5b941816-701c-40c6-aad6-82df43590001"},
      {42, "8328F9D4-3240-4050-8368-BC46864C0015", "8328f9d4-3240-4050-8368-bc46864c0015"},
      {2147483646, "521A5236-F3F6-47F3-B79D-8A963E91DE55", "521a5236-f3f6-47f3-b79d-8a963e91de55"},
      {4294967301, "64F33C38-1844-49F2-8B13-C72EA85F0002", "64f33c38-1844-49f2-8b13-c72ea85f0002"},
      {1700000000123456789, "D50A45E9-5245-42B1-B743-6969062536B6",
       "d50a45e9-5245-42b1-b743-6969062536b6"},
      {kFirstNumberIsLowest, "0C0B380E-8864-456B-8170-21AC00000000",
       "0c0b380e-8864-456b-8170-21ac00000000"},
      {kFirstNumberIsLastTaken, "EE5C827E-195E-4D15-A7BC-ABCB7CB3FFFF",
       "ee5c827e-195e-4d15-a7bc-abcb7cb3ffff"},
      {kFirstNumberIsPassedOver, "4797FA68-BA8C-41C3-9280-292BCD787CB4",
       "4797fa68-ba8c-41c3-9280-292bcd787cb4"},
  };
  for (const Row& row : rows) {
    MinimalStandardGenerator upper(row.seed), lower(row.seed);
    EXPECT_EQ(NewIdentifier(upper, kUpperCase), row.upper) << row.seed;
    EXPECT_EQ(NewIdentifier(lower, kLowerCase), row.lower) << row.seed;
  }
}

TEST(NewIdentifier, GoesOnWhereTheGeneratorStands) {
  MinimalStandardGenerator generator(1);
  EXPECT_EQ(NewIdentifier(generator, kUpperCase), "ADCB0C0B-380E-4864-B56B-C17021AC0000");
  EXPECT_EQ(NewIdentifier(generator, kUpperCase), "879B0DAF-08D9-44BB-84F9-622DEF49ADE7");
}

TEST(NewIdentifier, HasTheFormOfAVersion4Uuid) {
  for (int i = 0; i < 200; ++i) {
    EXPECT_THAT(NewIdentifier(kUpperCase), MatchesRegex(kUpperCaseForm));
    EXPECT_THAT(NewIdentifier(kLowerCase), MatchesRegex(kLowerCaseForm));
  }
}

TEST(NewIdentifier, DiffersFromTheOneBefore) {
  constexpr std::size_t kCount = 1000;
  std::set<std::string> identifiers;
  for (std::size_t i = 0; i < kCount; ++i) identifiers.insert(NewIdentifier(kUpperCase));
  EXPECT_EQ(identifiers.size(), kCount);
}

TEST(NewIdentifier, ComesFromOneGeneratorThatIsNeverSeededAgain) {
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(NewIdentifier(kUpperCase), NewIdentifier(generator, kUpperCase));
    EXPECT_EQ(NewIdentifier(kLowerCase), NewIdentifier(generator, kLowerCase));
    EXPECT_EQ(Random16(), Random16(generator));
  }
}

std::int64_t Nanoseconds() {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// Ends with 0 when the first identifier of the process is that of a moment around its making.
[[noreturn]] void EndWithSeedOfThisMoment() {
  const std::int64_t before = Nanoseconds();
  const std::string identifier = NewIdentifier(kUpperCase);
  const std::int64_t after = Nanoseconds();
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
