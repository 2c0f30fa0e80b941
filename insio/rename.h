// Renames an entry.
#pragma once

#include <string>

namespace KVLInsIO {

/// Renames or moves an entry as rename(2) does: within one file system, replacing an existing file,
/// and a link itself instead of its target. Throws KVLInsException "Rename - empty source path",
/// then "Rename - empty destination path"; "rename - " + source + " to " + destination with the
/// error's text, also for a missing source. Nothing has changed then.
void Rename(const std::string& source, const std::string& destination);

}  // namespace KVLInsIO
