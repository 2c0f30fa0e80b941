#include "companion/names/plain_text.h"

#include "companion/names/bounded_text.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// Returns each byte as "\x" and two digits.
std::string Escaped(const std::string& bytes) {
  std::string text;
  char digits[5];
  for (const char byte : bytes) {
    std::snprintf(digits, sizeof digits, "\\x%02X", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

TEST(ToOneLine, KeepsTextAndEscapesOtherBytes) {
  const std::map<std::string, std::string> rows = {
      {"", ""},
      {"plain", "plain"},
      {"a\\b", "a\\\\b"},
      {"\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\x80z", "\\x80z"},
      {"\xE2\x82z", "\\xE2\\x82z"},
  };
  for (const auto& [bytes, text] : rows) EXPECT_EQ(ToOneLine(bytes), text);
  for (const std::string bytes : {
           "\xFF", "\xC3",              // cut off
           "\xC0\xAF", "\xE0\x80\xAF",  // overlong
           "\xF0\x80\x80\x80",
           "\xED\xA0\x80",                          // a surrogate
           "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",  // beyond the last character
           "\xED\x7F\x80", "\xF4\x7F\x80\x80",      // a second byte too low
       }) {
    EXPECT_EQ(ToOneLine("a" + bytes), "a" + Escaped(bytes));
  }
}

/// Returns a character of the basic plane as UTF-8.
std::string Utf8(char32_t number) {
  if (number < 0x80) return {static_cast<char>(number)};
  const char last = static_cast<char>(0x80 | (number & 0x3F));
  if (number < 0x800) return {static_cast<char>(0xC0 | number >> 6), last};
  return {static_cast<char>(0xE0 | number >> 12), static_cast<char>(0x80 | (number >> 6 & 0x3F)),
          last};
}

TEST(ToOneLine, EscapesTheCharactersThatATerminalObeys) {
  const std::vector<std::pair<char32_t, char32_t>> ranges = {
      {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
      {0x2028, 0x2029}, {0x202A, 0x202E}, {0x2066, 0x2069},
  };
  for (char32_t number = 0; number < 0x3000; ++number) {
    const bool is_obeyed = std::any_of(ranges.begin(), ranges.end(), [number](const auto& range) {
      return number >= range.first && number <= range.second;
    });
    const std::string bytes = Utf8(number);
    const std::string shown = number == '\\' ? "\\\\" : bytes;
    ASSERT_EQ(ToOneLine("a" + bytes + "b"), "a" + (is_obeyed ? Escaped(bytes) : shown) + "b")
        << static_cast<unsigned>(number);
  }
}

TEST(WholeText, IsRefusedAboveItsBound) {
  const TestDirectory directory;
  directory.Write("text", "four");
  const KVLInsIO::OpenDirectory opened(directory.Path("."));
  EXPECT_EQ(WholeText(opened.File("text"), 4), "four");
  EXPECT_THROW(WholeText(opened.File("text"), 3), TooLong);
}

}  // namespace
}  // namespace kvl::test
