// Command texts and the arguments that they are split into.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct CommandRow {
  std::string command;
  std::vector<std::string> arguments;
};

inline const std::vector<CommandRow>& CommandRows() {
  static const std::vector<CommandRow> rows = {
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
      // An argument that ends in a backslash takes its closing quote along.
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
  return rows;
}

}  // namespace kvl::test
