// Parsing SOURCE_DATE_EPOCH, see https://reproducible-builds.org/specs/source-date-epoch/.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kvl {

inline constexpr char kSourceDateEpoch[] = "SOURCE_DATE_EPOCH";

/// Returns the seconds since 1970 in a text like "1700000000", and nothing for an empty text.
/// Throws CannotMake if the text is not a decimal number of up to 63 bits.
std::optional<std::int64_t> ParseSourceDate(const std::string& text);

}  // namespace kvl
