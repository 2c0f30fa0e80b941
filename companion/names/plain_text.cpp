#include "companion/names/plain_text.h"

namespace kvl {
namespace {

unsigned char ByteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

/// The lowest and the highest second byte of a character. They exclude overlong forms, surrogates
/// and numbers above the last character.
struct SecondByte {
  unsigned char lowest, highest;
};

SecondByte SecondByteAfter(unsigned char first) {
  switch (first) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {0x80, 0xBF};
  }
}

/// Returns the length of the valid character at the beginning, or 0.
std::size_t CharacterLength(std::string_view bytes) {
  const unsigned char first = ByteAt(bytes, 0);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (bytes.size() < length) return 0;
  const SecondByte second = SecondByteAfter(first);
  if (ByteAt(bytes, 1) < second.lowest || ByteAt(bytes, 1) > second.highest) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if ((ByteAt(bytes, i) & 0xC0U) != 0x80U) return 0;
  }
  return length;
}

void AppendByte(std::string& text, unsigned char byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  text.append("\\x").push_back(kDigits[byte / 16]);
  text.push_back(kDigits[byte % 16]);
}

/// Returns the number of a character. `bytes` must be one valid character.
char32_t NumberOf(std::string_view bytes) {
  const unsigned char first = ByteAt(bytes, 0);
  if (bytes.size() == 1) return first;
  char32_t number = first & (0x7FU >> bytes.size());
  for (std::size_t i = 1; i < bytes.size(); ++i) number = number << 6U | (ByteAt(bytes, i) & 0x3FU);
  return number;
}

/// Returns true for a character that a terminal obeys instead of showing: a control character, or
/// one that breaks a line or changes the direction of the text.
bool IsObeyed(char32_t character) {
  const auto is_between = [character](char32_t first, char32_t last) {
    return character >= first && character <= last;
  };
  return character < 0x20 || is_between(0x7F, 0x9F) || character == 0x061C ||
         is_between(0x200E, 0x200F) || is_between(0x2028, 0x202E) || is_between(0x2066, 0x2069);
}

}  // namespace

std::string ToOneLine(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const std::size_t length = CharacterLength(bytes);
    const std::string_view character = bytes.substr(0, length == 0 ? 1 : length);
    if (length == 0 || IsObeyed(NumberOf(character))) {
      for (std::size_t i = 0; i < character.size(); ++i) AppendByte(text, ByteAt(character, i));
    } else if (character == "\\") {
      text.append("\\\\");
    } else {
      text.append(character);
    }
    bytes.remove_prefix(character.size());
  }
  return text;
}

std::string Shortened(std::string_view bytes, std::size_t longest) {
  std::string text(bytes.substr(0, longest));
  if (bytes.size() > longest) text += "... (" + std::to_string(bytes.size()) + " bytes)";
  return text;
}

std::string MessageOf(const std::exception& failure) {
  std::string text = failure.what();
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

}  // namespace kvl
