// The lines of a text that may be long, one after the other, in little memory.
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
  /// Fills the room from the next byte of the text on, and gives how many bytes there were, 0 at
  /// the end.
  using Source = std::function<std::size_t(std::span<char>)>;

  /// Of a line, no more is read than a little beyond so many bytes.
  LineReader(Source source, std::size_t longest) : source_(std::move(source)), longest_(longest) {}

  /// The next line with its line feed, which the last one may lack, until the next call; the empty text
  /// at the end. Throws TooLong, and what the source throws.
  std::string_view Next();

  /// The digest of the whole text; once, behind the last line.
  Digest Finish() { return hasher_.Finish(); }

 private:
  bool ReadOn();

  const Source source_;
  const std::size_t longest_;
  std::string text_;       // a piece of it
  std::size_t begin_ = 0;  // of the next line in it
  Hasher hasher_;
};

}  // namespace kvl
