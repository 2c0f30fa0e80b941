#include "companion/plain_text.h"

#include <gtest/gtest.h>

namespace kvl::test {
namespace {

TEST(ToUtf8, KeepsTextAndWritesOtherBytesDown) {
  struct Row {
    std::string bytes, text;
  };
  const std::vector<Row> rows = {
      {"", ""},
      {"plain", "plain"},
      {"a\\b", "a\\\\b"},
      {"\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xFF", "\\xFF"},
      {"\x80z", "\\x80z"},
      {"a\xC3", "a\\xC3"},                           // cut off
      {"\xC0\xAF", "\\xC0\\xAF"},                    // overlong
      {"\xE0\x80\xAF", "\\xE0\\x80\\xAF"},           // overlong
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},           // a surrogate
      {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},  // beyond the last character
      {"\xF0\x80\x80\x80", "\\xF0\\x80\\x80\\x80"},  // overlong
      {"\xF5\x80\x80\x80", "\\xF5\\x80\\x80\\x80"},
      {"\xE2\x82z", "\\xE2\\x82z"},
  };
  for (const Row& row : rows) EXPECT_EQ(ToUtf8(row.bytes), row.text);
}

TEST(ToUtf8, KeepsControlCharactersWhichToOneLineDoesNot) {
  EXPECT_EQ(ToUtf8("a\n\x1B\x7F"), "a\n\x1B\x7F");
  EXPECT_EQ(ToOneLine("a\n\x1B\x7F\\"), "a\\x0A\\x1B\\x7F\\\\");
}

}  // namespace
}  // namespace kvl::test
