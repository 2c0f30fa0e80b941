// The value of SOURCE_DATE_EPOCH, see https://reproducible-builds.org/specs/source-date-epoch/.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kvl {

inline constexpr char kSourceDateEpoch[] = "SOURCE_DATE_EPOCH";

/// The seconds since 1970 that a text like "1700000000" stands for; nothing for the empty text.
/// Throws CannotMake for anything but decimal digits, and for more than 63 bits hold.
std::optional<std::int64_t> ParseSourceDate(const std::string& text);

}  // namespace kvl
