#include "console/command_split.h"

#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

TEST(SplitCommand, FollowsTheQuotingRules) {
  struct Row {
    std::string command;
    std::vector<std::string> arguments;
  };
  const std::vector<Row> rows = {
      // Blanks.
      {R"()", {}},
      {R"(   )", {}},
      {R"(a)", {"a"}},
      {R"(a b c)", {"a", "b", "c"}},
      {R"(  a   b  )", {"a", "b"}},
      {"a\tb\nc\rd", {"a\tb\nc\rd"}},  // nothing else separates
      // Single quotes.
      {R"(  a  'b c'  )", {"a", "b c"}},
      {R"('a'b'c d'e)", {"abc de"}},
      {R"('a \" \\ \n "b"')", {R"(a \" \\ \n "b")"}},
      {R"('a\' b)", {R"(a\)", "b"}},
      {R"(a '' b)", {"a", "b"}},
      {R"(a'' ''b)", {"a", "b"}},
      {R"('   ')", {"   "}},
      {R"(a 'b c)", {"a", "b c"}},
      {R"(a ')", {"a"}},
      // Double quotes.
      {R"(a "b c")", {"a", "b c"}},
      {R"("a"b"c d"e)", {"abc de"}},
      {R"(a "b \" \\ \n")", {"a", R"(b " \ \n)"}},
      {R"("it's" 'say "x"')", {"it's", R"(say "x")"}},
      {R"("\'\ \a")", {R"(\'\ \a)"}},
      {R"("\\" b)", {R"(\)", "b"}},
      {R"(a "" b)", {"a", "b"}},
      {R"(a"" ""b)", {"a", "b"}},
      {R"(a '' "" b)", {"a", "b"}},
      {R"("a" "" "b")", {"a", "b"}},
      {R"("   ")", {"   "}},
      {R"(a "b c)", {"a", "b c"}},
      {R"(a "b\)", {"a", R"(b\)"}},
      {R"(a ")", {"a"}},
      // A backslash at the end of an argument hides its closing quote.
      {R"("a\" "b")", {R"(a" b)"}},
      {R"("/m/x" "C:\" "-y" "z")", {"/m/x", R"(C:" -y z)"}},
      // Backslashes without quotes.
      {R"(a\ b\\)", {R"(a b\)"}},
      {R"(\'a\" \b)", {R"('a")", "b"}},
      {R"(\  b)", {" ", "b"}},
      {R"(a\)", {"a"}},
      {R"(a \)", {"a"}},
      {R"(\)", {}},
      {R"(a\\\)", {R"(a\)"}},
  };
  for (const Row& row : rows) EXPECT_EQ(SplitCommand(row.command), row.arguments) << row.command;
}

TEST(SplitCommand, TakesTimeInProportionToTheLength) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // copying the rest of the text at every character would take minutes
    const std::string argument(3'000'000, 'a');
    return SplitCommand("\"" + argument + "\"") == std::vector{argument} ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
}  // namespace kvl::test
