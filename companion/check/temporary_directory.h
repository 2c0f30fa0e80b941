// The place in which a launcher would stage what it starts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kvl {

/// How many files and directories more the file system of `path` can hold, or of the nearest directory
/// on the way there. Nothing where there is no limit, or none can be found out.
std::optional<std::uint64_t> FreeEntries(const std::string& path);

}  // namespace kvl
