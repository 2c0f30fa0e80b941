// Decodes an input of plain bytes.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), data == nullptr ? 0 : size) {}

  bool AtEnd() const { return rest_.empty(); }

  /// Returns the next byte; 0 at the end.
  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const char byte = rest_.front();
    rest_.remove_prefix(1);
    return static_cast<std::uint8_t>(byte);
  }

  /// Returns a number below `limit`, which is 1 to 256.
  std::size_t Below(std::size_t limit) { return Byte() % limit; }

  /// Returns true for `of_256` of the 256 bytes, and false at the end.
  bool Chance(unsigned of_256) { return Byte() > 255 - of_256; }

  template <typename Value>
  Value OneOf(const std::vector<Value>& values) {
    return values[Below(values.size())];
  }

  /// Returns the text up to the next separator, which is dropped, or to the end.
  std::string Text() {
    const std::size_t end = rest_.find(kSeparator);
    std::string text(rest_.substr(0, end));
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return text;
  }

  /// Returns the texts of the whole rest.
  std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    while (!AtEnd()) texts.push_back(Text());
    return texts;
  }

  /// Separates texts; no text in UTF-8 contains it.
  static constexpr char kSeparator = '\xff';

 private:
  std::string_view rest_;
};

}  // namespace kvl::test
