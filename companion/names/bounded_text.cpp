#include "companion/names/bounded_text.h"

#include <cstddef>
#include <span>

namespace kvl {

std::string WholeText(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes) {
  constexpr std::size_t kAtOnce = 65536;
  if (file.State().size > most_bytes) throw TooLong(most_bytes);
  std::string text;
  std::size_t length = 0;
  for (std::size_t more = 1; more > 0; length += more) {
    if (length > most_bytes) throw TooLong(most_bytes);
    text.resize(length + kAtOnce);
    more = file.Read(length, std::span(text).subspan(length));
  }
  text.resize(length);
  return text;
}

}  // namespace kvl
