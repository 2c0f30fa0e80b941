// Renaming an entry.
#pragma once

#include <string>

namespace KVLInsIO {

/// Renames or moves an entry as rename(2) does: within one file system, replacing an existing file,
/// a link itself and not its target.
/// Throws KVLInsException "Rename - empty source path", "Rename - empty destination path" (the
/// source is tested first), "rename - " + source + " to " + destination with the error's text, also
/// for a missing source; nothing has changed then.
void Rename(const std::string& source, const std::string& destination);

}  // namespace KVLInsIO
