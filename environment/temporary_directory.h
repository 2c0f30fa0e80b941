// Where temporary files go.
#pragma once

#include <string>

namespace kvl {

inline constexpr char kDefaultTemporaryDirectory[] = "/tmp";

/// The value of TMPDIR as it stands, or "/tmp" when that is unset or empty. Not normalised, and not
/// checked for existence.
std::string TemporaryDirectory();

}  // namespace kvl
