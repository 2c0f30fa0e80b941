#include "console/text.h"

#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

constexpr std::int32_t kFallback = -77;

TEST(ToIntOr, ReadsTheNumberInFront) {
  const std::vector<std::pair<std::string, std::int32_t>> rows = {
      {"7", 7},
      {" 7", 7},
      {" \t\n\v\f\r7", 7},
      {"+7", 7},
      {"  -7", -7},
      {"-0", 0},
      {"0012", 12},
      {"12abc", 12},
      {"12 34", 12},
      {"1.9", 1},
      {"0x10", 0},
      {std::string("5\0006", 3), 5},
      {"-2147483648", std::numeric_limits<std::int32_t>::min()},
      {"2147483647 volumes", std::numeric_limits<std::int32_t>::max()},
  };
  for (const auto& [text, number] : rows) EXPECT_EQ(ToIntOr(text, kFallback), number) << text;
}

TEST(ToIntOr, FallsBackWithoutANumberThatFits) {
  const std::string long_number(1000, '9');
  for (const std::string text :
       {"", " ", "abc", "a7", "+", "+-7", "- 7", ".5", "2147483648", "-2147483649", "4294967297",
        "99999999999", "9223372036854775808", "-99999999999999999999", long_number.c_str()}) {
    EXPECT_EQ(ToIntOr(text, kFallback), kFallback) << text;
    EXPECT_EQ(ToIntOr(text, 5), 5) << text;
  }
}

TEST(ToIntOr, LeavesErrnoAsItWasUnlessTheSystemReportsARangeError) {
  struct Row {
    std::string text;
    int before, after;
  };
  const std::vector<Row> rows = {{"7", ENOTTY, ENOTTY},
                                 {"7", ERANGE, ERANGE},  // not misled by an error from before
                                 {"", ENOTTY, ENOTTY},
                                 {"abc", ENOTTY, ENOTTY},
                                 {"99999999999", ENOTTY, ENOTTY},
                                 {"9999999999999999999999", ENOTTY, ERANGE}};
  for (const Row& row : rows) {
    errno = row.before;
    const std::int32_t number = ToIntOr(row.text, kFallback);
    EXPECT_EQ(errno, row.after) << row.text;
    EXPECT_EQ(number, row.text == "7" ? 7 : kFallback);
  }
}

TEST(ReplaceAll, ReplacesEveryOccurrenceBehindTheStart) {
  struct Row {
    std::string text, what, with;
    std::size_t start;
    std::string result;
    std::size_t count;
  };
  constexpr char kIndent[] = "\n       ";
  const std::vector<Row> rows = {
      {"aaa", "a", "aa", 0, "aaaaaa", 3},
      {"a\nb\nc", "\n", kIndent, 0, "a\n       b\n       c", 2},
      {"x\n", "\n", kIndent, 0, "x\n       ", 1},
      {"none", "x", "y", 0, "none", 0},
      {"", "x", "y", 0, "", 0},
      {"x", "x", "", 0, "", 1},
      {"axbxc", "x", "", 0, "abc", 2},
      {"long and long", "long", "x", 0, "x and x", 2},
      {"aaaaa", "aa", "b", 0, "bba", 2},
      {"aab", "ab", "b", 0, "ab", 1},
      {"aXaXa", "a", "b", 1, "aXbXb", 2},
      {"aXaXa", "a", "b", 5, "aXaXa", 0},
      {"aXaXa", "a", "b", 99, "aXaXa", 0},
      {"x", "xx", "y", 0, "x", 0},
      {"xx", "xx", "xx", 0, "xx", 1},
      {std::string("a\0b\0", 4), std::string(1, '\0'), "0", 0, "a0b0", 2},
      {"abc", "", "x", 0, "abc", 0},  // an empty search finds nothing
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("\"" + row.text + "\", " + row.what + " by " + row.with + " from " +
                 std::to_string(row.start));
    std::string text = row.text;
    EXPECT_EQ(ReplaceAll(text, row.what, row.with, row.start), row.count);
    EXPECT_EQ(text, row.result);
  }
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

TEST(ReadLine, DeliversLinesWithoutTheirEnds) {
  struct Row {
    std::string what, contents;
    std::vector<std::string> lines;
  };
  const std::string odd_bytes("\0 \t\xFF x ", 7);
  const std::vector<Row> rows = {
      {"line feeds", "a\nb c\n\nd\n", {"a", "b c", "", "d"}},
      {"carriage returns and line feeds", "a\r\nb c\r\n\r\nd\r\n", {"a", "b c", "", "d"}},
      {"a last line without a line feed", "a\nlast", {"a", "last"}},
      {"one that ends in a carriage return", "a\r\nlast\r", {"a", "last"}},
      {"of two carriage returns one", "a\r\r\n\rb\rc\n\r\n", {"a\r", "\rb\rc", ""}},
      {"every other byte stays", odd_bytes + "\n", {odd_bytes}},
      {"nothing of nothing", "", {}},
  };
  for (const Row& row : rows) {
    std::istringstream stream(row.contents);
    std::vector<std::string> lines;
    for (std::string line; ReadLine(stream, line);) lines.push_back(line);
    EXPECT_EQ(lines, row.lines) << row.what;
  }
}

TEST(ReadLine, LeavesTheLineAloneOnAFailedStreamWhichItReturns) {
  std::istringstream stream("b\n");
  stream.setstate(std::ios::badbit);
  std::string line = "a\r";
  EXPECT_EQ(&ReadLine(stream, line), &stream);
  EXPECT_TRUE(stream.bad());
  EXPECT_EQ(line, "a\r");
}

}  // namespace
}  // namespace kvl::test
