// Removing a volume that this call has made, when only its disc image is wanted.
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

/// Removes what the manifest and the list in a volume's directory name, and nothing else. Then
/// removes the directory if it is empty, unless it `stays`. Does not follow links.
///
/// Throws std::runtime_error when manifest and list do not fit each other, and when a directory
/// cannot be removed, for instance because it holds something else; and what OpenDirectory throws.
/// What was removed before stays removed.
void RemoveVolume(const std::string& directory, std::size_t volume, bool stays);

}  // namespace kvl
