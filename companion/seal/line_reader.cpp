#include "companion/seal/line_reader.h"

#include "companion/names/bounded_text.h"

namespace kvl {

std::string_view LineReader::Next() {
  std::size_t end;
  while ((end = text_.find('\n', begin_)) == std::string::npos && ReadOn()) continue;
  const std::size_t behind = end == std::string::npos ? text_.size() : end + 1;
  const std::size_t begin = std::exchange(begin_, behind);
  return std::string_view(text_).substr(begin, behind - begin);
}

/// Keeps only the line that is not complete yet, and reads on. Returns false at the end.
bool LineReader::ReadOn() {
  constexpr std::size_t kAtOnce = 16384;
  text_.erase(0, std::exchange(begin_, 0));
  const std::size_t length = text_.size();
  if (length > longest_) throw TooLong(longest_);
  text_.resize(length + kAtOnce);
  const std::size_t more = source_(std::span(text_).subspan(length));
  text_.resize(length + more);
  hasher_.Add(std::string_view(text_).substr(length));
  return more > 0;
}

}  // namespace kvl
