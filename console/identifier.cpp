#include "console/identifier.h"

#include <array>
#include <charconv>
#include <chrono>

namespace kvl {
namespace {

constexpr std::uint64_t kMultiplier = 16807;
constexpr std::uint32_t kModulus = 2147483647;
constexpr std::uint32_t kRange = kModulus - 1;  // how many different numbers there are
constexpr std::uint32_t kScale = kRange / 65536;
constexpr std::uint32_t kAccepted = kScale * 65536;

std::uint32_t SeedFrom(std::int64_t clock_reading) {
  const std::uint32_t seed = static_cast<std::uint32_t>(clock_reading) % kModulus;
  return seed == 0 ? 1 : seed;
}

std::int64_t NanosecondsSinceEpoch() {
  using std::chrono::nanoseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<nanoseconds>(now).count();
}

MinimalStandardGenerator& ProcessGenerator() {
  static MinimalStandardGenerator generator(NanosecondsSinceEpoch());
  return generator;
}

using Groups = std::array<std::uint32_t, 8>;

/// Returns the identifier made from 16 random bytes.
std::string TextOf(Groups groups, bool upper_case) {
  groups[4] = (groups[4] & 0x3FFF) + 0x8000;  // the variant of RFC 4122
  groups[3] = (groups[3] & 0x0FFF) + 0x4000;  // its version 4
  std::string text;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    text.append(Hex4(groups[i], upper_case));
    if (i >= 1 && i <= 4) AppendDash(text);
  }
  return text;
}

/// Returns the number that four hexadecimal digits of either case denote.
std::uint32_t NumberOf(std::string_view digits) {
  std::uint32_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return number;
}

}  // namespace

MinimalStandardGenerator::MinimalStandardGenerator(std::int64_t clock_reading)
    : state_(SeedFrom(clock_reading)) {}

std::uint32_t MinimalStandardGenerator::Next() {
  state_ = static_cast<std::uint32_t>(kMultiplier * state_ % kModulus);
  return state_;
}

std::uint32_t Random16(MinimalStandardGenerator& generator) {
  std::uint32_t number = generator.Next() - 1;
  while (number >= kAccepted) number = generator.Next() - 1;
  return number / kScale;
}

std::string Hex4(std::uint32_t value, bool upper_case) {
  const char* digits = upper_case ? "0123456789ABCDEF" : "0123456789abcdef";
  std::string text;
  for (; value != 0 || text.size() < 4; value /= 16) text.insert(text.begin(), digits[value % 16]);
  return text;
}

void AppendDash(std::string& text) {
  text.push_back('-');
}

std::string NewIdentifier(MinimalStandardGenerator& generator, bool upper_case) {
  Groups groups;
  for (std::size_t i = groups.size(); i > 0; --i) groups[i - 1] = Random16(generator);
  return TextOf(groups, upper_case);
}

std::uint32_t Random16() {
  return Random16(ProcessGenerator());
}

std::string NewIdentifier(bool upper_case) {
  return NewIdentifier(ProcessGenerator(), upper_case);
}

bool IsIdentifier(std::string_view text, bool upper_case) {
  std::string digits(text);
  std::erase(digits, '-');
  Groups groups;
  if (digits.size() != 4 * groups.size()) return false;
  for (std::size_t i = 0; i < groups.size(); ++i) groups[i] = NumberOf(digits.substr(4 * i, 4));
  return TextOf(groups, upper_case) == text;
}

}  // namespace kvl
