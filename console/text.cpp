#include "console/text.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <utility>

namespace kvl {

std::int32_t ToIntOr(const std::string& text, std::int32_t fallback) {
  if (text.empty()) return fallback;
  const int errno_before = std::exchange(errno, 0);
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  const bool in_long_range = errno == 0;
  if (in_long_range) errno = errno_before;

  using Limits = std::numeric_limits<std::int32_t>;
  const bool fits = in_long_range && value >= Limits::min() && value <= Limits::max();
  return end != text.c_str() && fits ? static_cast<std::int32_t>(value) : fallback;
}

}  // namespace kvl
