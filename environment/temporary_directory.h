// The directory for temporary files.
#pragma once

#include <string>

namespace kvl {

inline constexpr char kDefaultTemporaryDirectory[] = "/tmp";

/// Returns the value of TMPDIR as it stands, or "/tmp" if TMPDIR is unset or empty. Neither
/// normalises the path nor checks that it exists.
std::string TemporaryDirectory();

}  // namespace kvl
