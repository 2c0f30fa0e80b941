#include "companion/make/volume_size.h"

#include <charconv>
#include <system_error>

#include "companion/make/payload_split.h"

namespace kvl {
namespace {

/// By how many bits a letter behind a number shifts it; 0 when it is none of the letters.
unsigned ShiftOf(char letter) {
  switch (letter) {
    case 'K':
      return 10;
    case 'M':
      return 20;
    case 'G':
      return 30;
    default:
      return 0;
  }
}

}  // namespace

std::uint64_t ParseVolumeSize(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [letters, error] = std::from_chars(text.data(), end, number);
  const unsigned shift = end - letters == 1 ? ShiftOf(*letters) : 0;
  const bool is_whole = letters == end || shift != 0;
  if (error != std::errc() || !is_whole || number == 0 || number > UINT64_MAX >> shift) {
    throw CannotMake("--volume-size: no size: " + text + " (a whole number, with K, M or G)");
  }
  return number << shift;
}

}  // namespace kvl
