#include "tests/models/text_model.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

bool IsIn(char character, std::string_view set) {
  return set.find(character) != std::string_view::npos;
}

}  // namespace

NumberModel ModelOfNumber(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && IsIn(text[at], " \t\n\v\f\r")) ++at;
  const bool is_negative = at < text.size() && text[at] == '-';
  if (at < text.size() && IsIn(text[at], "+-")) ++at;

  NumberModel number;
  constexpr std::int64_t kTooMuch = std::int64_t{1} << 40;
  std::int64_t value = 0;
  for (; at < text.size() && IsIn(text[at], "0123456789"); ++at) {
    number.has_digit = true;
    value = value * 10 + (text[at] - '0');
    if (value > kTooMuch) value = kTooMuch;
  }
  if (is_negative) value = -value;
  using Limits = std::numeric_limits<std::int32_t>;
  if (number.has_digit && value >= Limits::min() && value <= Limits::max()) {
    number.value = static_cast<std::int32_t>(value);
  }
  return number;
}

std::vector<std::string> ModelOfLines(std::string_view contents) {
  std::vector<std::string> lines;
  bool is_in_line = false;
  for (const char character : contents) {
    if (!is_in_line) lines.emplace_back();
    is_in_line = character != '\n';
    if (is_in_line) lines.back() += character;
  }
  for (std::string& line : lines) {
    if (line.ends_with('\r')) line.pop_back();
  }
  return lines;
}

ReplacedModel ModelOfReplaceAll(std::string_view text, std::string_view what, std::string_view with,
                                std::size_t start) {
  ReplacedModel result;
  for (std::size_t at = 0; at < text.size();) {
    const bool matches = at >= start && !what.empty() && text.substr(at).starts_with(what);
    result.text += matches ? with : text.substr(at, 1);
    result.count += matches ? 1 : 0;
    at += matches ? what.size() : 1;
  }
  return result;
}

ReplacedModel ModelOfReplaceInLines(std::string_view contents, std::string_view what,
                                    std::string_view with) {
  ReplacedModel result;
  for (const std::string& line : ModelOfLines(contents)) {
    const ReplacedModel replaced = ModelOfReplaceAll(line, what, with, 0);
    result.text += replaced.text + "\n";
    result.count += replaced.count;
  }
  if (!result.text.empty()) result.text.pop_back();
  return result;
}

}  // namespace kvl::test
