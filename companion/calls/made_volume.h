// Taking back a volume that this call has made.
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

/// Removes what the manifest and the list in a volume's directory name, and nothing else; then, unless it
/// `stays`, the directory, if it is empty. Links are not followed.
/// Throws std::runtime_error "not removed, because it is not what was made: " + path when they do not fit
/// each other, "cannot be removed: " + path with the error's text for a directory in which something
/// else lies; and as OpenDirectory does. What has been removed by then is gone.
void RemoveVolume(const std::string& directory, std::size_t volume, bool stays);

}  // namespace kvl
