// Random identifiers in the layout of a version-4 UUID (RFC 4122): good for a fresh name, not for a
// secret.
//
// All arithmetic is written out here, so that a given seed yields the same text everywhere.
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
  /// Takes the low 32 bits of a clock reading (nanoseconds since the epoch), modulo 2147483647; a
  /// result of 0 is replaced by 1.
  explicit MinimalStandardGenerator(std::int64_t clock_reading);

  std::uint32_t Next();

 private:
  std::uint32_t state_;
};

/// A number from 0 to 65535, each as likely as the other: the generator's few last numbers, which
/// would spoil that, are passed over.
std::uint32_t Random16(MinimalStandardGenerator& generator);

/// Hexadecimal, padded with "0" to four digits; a value above 65535 gives more.
///   10, kUpperCase  =>  000A     0x12345, kLowerCase  =>  12345
std::string Hex4(std::uint32_t value, bool upper_case);

/// Appends "-".
void AppendDash(std::string& text);

/// 36 characters: eight groups of four digits, the fourth beginning with 4, the fifth with 8, 9, A
/// or B, dashes behind groups 2, 3, 4 and 5. The last group is drawn first.
std::string NewIdentifier(MinimalStandardGenerator& generator, bool upper_case);

/// The same, from the one generator of the process. It is seeded from the system clock on first use
/// and never again.
std::uint32_t Random16();
std::string NewIdentifier(bool upper_case);

/// True for a text that NewIdentifier may give.
bool IsIdentifier(std::string_view text, bool upper_case);

}  // namespace kvl
