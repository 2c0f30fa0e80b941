#include "console/text.h"

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr std::int32_t kFallback = -77;
constexpr int kErrnoBefore = ENOTTY;
constexpr char kIndent[] = "\n       ";

TEST(ToIntOr, ReadsTheNumberInFront) {
  struct Row {
    std::string text;
    std::int32_t number;
  };
  const std::vector<Row> rows = {
      {"7", 7},
      {" 7", 7},
      {" \t\n\v\f\r7", 7},
      {"+7", 7},
      {"-7", -7},
      {"  -7", -7},
      {"0", 0},
      {"-0", 0},
      {"0012", 12},
      {"12abc", 12},
      {"12 34", 12},
      {"1.9", 1},
      {"0x10", 0},
      {std::string("5\0006", 3), 5},
      {"2147483647", std::numeric_limits<std::int32_t>::max()},
      {"-2147483648", std::numeric_limits<std::int32_t>::min()},
      {"2147483647 volumes", std::numeric_limits<std::int32_t>::max()},
  };
  for (const Row& row : rows) EXPECT_EQ(ToIntOr(row.text, kFallback), row.number) << row.text;
}

TEST(ToIntOr, FallsBackWithoutANumberThatFits) {
  const std::vector<std::string> texts = {"",
                                          " ",
                                          "abc",
                                          "a7",
                                          "+",
                                          "-",
                                          "+-7",
                                          "- 7",
                                          ".5",
                                          "2147483648",
                                          "-2147483649",
                                          "4294967297",
                                          "99999999999",
                                          "9223372036854775807",
                                          "9223372036854775808",
                                          "-99999999999999999999",
                                          std::string(1000, '9')};
  for (const std::string& text : texts) {
    EXPECT_EQ(ToIntOr(text, kFallback), kFallback) << text;
    EXPECT_EQ(ToIntOr(text, 5), 5) << text;
  }
}

TEST(ToIntOr, LeavesErrnoAsItWasUnlessTheSystemReportsARangeError) {
  struct Row {
    std::string text;
    int errno_after;
  };
  const std::vector<Row> rows = {{"7", kErrnoBefore},
                                 {"", kErrnoBefore},
                                 {"abc", kErrnoBefore},
                                 {"99999999999", kErrnoBefore},
                                 {"9999999999999999999999", ERANGE}};
  for (const Row& row : rows) {
    errno = kErrnoBefore;
    ToIntOr(row.text, kFallback);
    EXPECT_EQ(errno, row.errno_after) << row.text;
  }
}

TEST(ToIntOr, IsNotMisledByAnErrorFromBefore) {
  errno = ERANGE;
  EXPECT_EQ(ToIntOr("7", kFallback), 7);
  EXPECT_EQ(errno, ERANGE);
}

struct Replacement {
  std::string text, what, with;
  std::size_t start;
  std::string result;
  std::size_t count;
};

TEST(ReplaceAll, ReplacesEveryOccurrenceBehindTheStart) {
  const std::vector<Replacement> rows = {
      {"aaa", "a", "aa", 0, "aaaaaa", 3},
      {"a\nb\nc", "\n", kIndent, 0, "a\n       b\n       c", 2},
      {"x\n", "\n", kIndent, 0, "x\n       ", 1},
      {"none", "x", "y", 0, "none", 0},
      {"", "x", "y", 0, "", 0},
      {"x", "x", "", 0, "", 1},
      {"axbxc", "x", "", 0, "abc", 2},
      {"x and x", "x", "longer", 0, "longer and longer", 2},
      {"long and long", "long", "x", 0, "x and x", 2},
      {"aaaaa", "aa", "b", 0, "bba", 2},
      {"abab", "ab", "a", 0, "aa", 2},
      {"aab", "ab", "b", 0, "ab", 1},
      {"aXaXa", "a", "b", 1, "aXbXb", 2},
      {"aXaXa", "a", "b", 4, "aXaXb", 1},
      {"aXaXa", "a", "b", 5, "aXaXa", 0},
      {"aXaXa", "a", "b", 99, "aXaXa", 0},
      {"aaa", "aa", "b", 1, "ab", 1},
      {"x", "xx", "y", 0, "x", 0},
      {"xx", "xx", "xx", 0, "xx", 1},
      {std::string("a\0b\0", 4), std::string(1, '\0'), "0", 0, "a0b0", 2},
  };
  for (const Replacement& row : rows) {
    SCOPED_TRACE("\"" + row.text + "\", " + row.what + " by " + row.with + " from " +
                 std::to_string(row.start));
    std::string text = row.text;
    EXPECT_EQ(ReplaceAll(text, row.what, row.with, row.start), row.count);
    EXPECT_EQ(text, row.result);
  }
}

TEST(ReplaceAll, ReplacesNothingForAnEmptySearch) {
  std::string text = "abc";
  EXPECT_EQ(ReplaceAll(text, "", "x", 0), 0U);
  EXPECT_EQ(text, "abc");
}

TEST(ReplaceAll, TakesTimeInProportionToTheLength) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // shifting the rest of the text at every match would take minutes
    constexpr std::size_t kMatches = 2'000'000;
    std::string text(kMatches, 'a');
    return ReplaceAll(text, "a", "bc", 0) == kMatches && text.size() == 2 * kMatches ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// Every line that ReadLine delivers.
std::vector<std::string> LinesOf(const std::string& contents) {
  std::istringstream stream(contents);
  std::vector<std::string> lines;
  for (std::string line; ReadLine(stream, line);) lines.push_back(line);
  return lines;
}

TEST(ReadLine, DeliversLinesWithoutTheirEnds) {
  EXPECT_THAT(LinesOf("a\nb c\n\nd\n"), ElementsAre("a", "b c", "", "d"));
  EXPECT_THAT(LinesOf("a\r\nb c\r\n\r\nd\r\n"), ElementsAre("a", "b c", "", "d"));
}

TEST(ReadLine, DeliversALastLineWithoutALineFeedWhole) {
  EXPECT_THAT(LinesOf("a\nlast"), ElementsAre("a", "last"));
  EXPECT_THAT(LinesOf("a\r\nlast\r"), ElementsAre("a", "last"));
}

TEST(ReadLine, DropsOneCarriageReturnAtTheEndOnly) {
  EXPECT_THAT(LinesOf("a\r\r\n\rb\rc\n\r\n"), ElementsAre("a\r", "\rb\rc", ""));
}

TEST(ReadLine, KeepsEveryOtherByte) {
  const std::string line("\0 \t\xFF x ", 7);
  EXPECT_THAT(LinesOf(line + "\n"), ElementsAre(line));
}

TEST(ReadLine, OfAnEmptyStreamFails) {
  EXPECT_THAT(LinesOf(""), IsEmpty());
}

TEST(ReadLine, LeavesTheLineAloneOnAFailedStream) {
  std::istringstream stream("b\n");
  stream.setstate(std::ios::badbit);
  std::string line = "a\r";
  EXPECT_FALSE(ReadLine(stream, line));
  EXPECT_EQ(line, "a\r");
}

TEST(ReadLine, ReturnsTheStreamItWasGiven) {
  std::istringstream stream("a\n");
  std::string line;
  EXPECT_EQ(&ReadLine(stream, line), &stream);
}

}  // namespace
}  // namespace kvl::test
