// Random identifiers in the form of a version-4 UUID (RFC 4122). They are good for a fresh name,
// but not for a secret.
//
// This file does its own arithmetic, so that a given seed yields the same text everywhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvl {

inline constexpr bool kUpperCase = true;
inline constexpr bool kLowerCase = false;

/// The minimal-standard generator x(n+1) = 16807 * x(n) mod 2147483647; numbers from 1 to
/// 2147483646.
class MinimalStandardGenerator {
 public:
  /// Seeds the generator with the low 32 bits of a clock reading (nanoseconds since the epoch)
  /// modulo 2147483647, or with 1 if that is 0.
  explicit MinimalStandardGenerator(std::int64_t clock_reading);

  std::uint32_t Next();

 private:
  std::uint32_t state_;
};

/// Returns a number from 0 to 65535, each equally likely: skips the few highest numbers of the
/// generator, which would spoil that.
std::uint32_t Random16(MinimalStandardGenerator& generator);

/// Returns the value in hexadecimal, padded with "0" to four digits. A value above 65535 has more
/// digits.
///   10, kUpperCase  =>  000A     0x12345, kLowerCase  =>  12345
std::string Hex4(std::uint32_t value, bool upper_case);

/// Appends "-".
void AppendDash(std::string& text);

/// Returns 36 characters: eight groups of four digits, with dashes behind groups 2, 3, 4 and 5. The
/// fourth group begins with 4, the fifth with 8, 9, A or B. Draws the last group first.
std::string NewIdentifier(MinimalStandardGenerator& generator, bool upper_case);

/// The same, from the process's one generator, which the system clock seeds on first use and never
/// again.
std::uint32_t Random16();
std::string NewIdentifier(bool upper_case);

/// Returns true for a text that NewIdentifier can return.
bool IsIdentifier(std::string_view text, bool upper_case);

}  // namespace kvl
