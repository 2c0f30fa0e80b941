// Reading a long text line by line in little memory.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "companion/seal/digest.h"

namespace kvl {

class LineReader {
 public:
  /// Reads the next bytes of the text into the span. Returns how many bytes it has read, 0 at the
  /// end.
  using Source = std::function<std::size_t(std::span<char>)>;

  /// Reads a line up to `longest` bytes, and little more.
  LineReader(Source source, std::size_t longest) : source_(std::move(source)), longest_(longest) {}

  /// Returns the next line with its line feed, which the last line may lack; returns an empty text
  /// at the end. The line is valid until the next call. Throws TooLong, and what the source throws.
  std::string_view Next();

  /// Returns the digest of the whole text. Call it once, after the last line.
  Digest Finish() { return hasher_.Finish(); }

 private:
  bool ReadOn();

  const Source source_;
  const std::size_t longest_;
  std::string text_;       // a piece of the text
  std::size_t begin_ = 0;  // of the next line in the piece
  Hasher hasher_;
};

}  // namespace kvl
