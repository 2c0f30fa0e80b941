#include "companion/make/source_date.h"

#include <charconv>
#include <system_error>

#include "companion/make/payload_list.h"

namespace kvl {

std::optional<std::int64_t> ParseSourceDate(const std::string& text) {
  if (text.empty()) return {};
  std::int64_t seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || rest != end || text.front() == '-') {
    throw CannotMake(std::string(kSourceDateEpoch) + " is not a number of seconds: " + text +
                     "; set it to decimal digits, or unset it");
  }
  return seconds;
}

}  // namespace kvl
