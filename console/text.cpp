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

std::size_t ReplaceAll(std::string& text, std::string_view what, std::string_view with,
                       std::size_t start) {
  std::size_t match = what.empty() ? std::string::npos : text.find(what, start);
  if (match == std::string::npos) return 0;

  std::size_t count = 0;
  std::string result;
  std::size_t copied = 0;
  for (; match != std::string::npos; match = text.find(what, copied)) {
    result.append(text, copied, match - copied).append(with);
    copied = match + what.size();
    ++count;
  }
  result.append(text, copied);
  text = std::move(result);
  return count;
}

std::istream& ReadLine(std::istream& stream, std::string& line) {
  if (!std::getline(stream, line)) return stream;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return stream;
}

}  // namespace kvl
