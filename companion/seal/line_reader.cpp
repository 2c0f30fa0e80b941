#include "companion/seal/line_reader.h"

#include "companion/names/bounded_text.h"

namespace kvl {

LineReader::LineReader(const KVLInsIO::OpenFile& file, std::size_t longest)
    : file_(file), longest_(longest) {}

std::string_view LineReader::Next() {
  constexpr std::size_t kPiece = 65536;
  std::size_t end;
  while ((end = bytes_.find('\n', given_)) == std::string::npos) {
    bytes_.erase(0, given_);
    given_ = 0;
    const std::size_t rest = bytes_.size();
    if (rest > longest_) throw TooLong(longest_);
    bytes_.resize(rest + kPiece);
    const std::size_t length = file_.Read(hasher_.Size(), {bytes_.data() + rest, kPiece});
    bytes_.resize(rest + length);
    hasher_.Add({bytes_.data() + rest, length});
    if (length == 0) {
      given_ = rest;
      return bytes_;
    }
  }
  const std::size_t begin = given_;
  given_ = end + 1;
  return std::string_view(bytes_).substr(begin, given_ - begin);
}

}  // namespace kvl
