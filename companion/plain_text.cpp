#include "companion/plain_text.h"

#include <cstddef>

namespace kvl {
namespace {

unsigned char ByteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

/// The lowest and the highest second byte of a character, which exclude overlong forms, surrogates
/// and what lies beyond the last character.
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

/// The length of the valid character that stands at the beginning; 0 when there is none.
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

enum class Controls { kKept, kWritten };

std::string Escaped(std::string_view bytes, Controls controls) {
  std::string text;
  while (!bytes.empty()) {
    const unsigned char first = ByteAt(bytes, 0);
    const std::size_t length = CharacterLength(bytes);
    const bool is_control = first < 0x20 || first == 0x7F;
    if (length == 0 || (is_control && controls == Controls::kWritten)) {
      AppendByte(text, first);
    } else if (first == '\\') {
      text.append("\\\\");
    } else {
      text.append(bytes.substr(0, length));
    }
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

}  // namespace

std::string ToUtf8(std::string_view bytes) {
  return Escaped(bytes, Controls::kKept);
}

std::string ToOneLine(std::string_view bytes) {
  return Escaped(bytes, Controls::kWritten);
}

}  // namespace kvl
