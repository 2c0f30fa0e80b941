#include "companion/check/temporary_directory.h"

#include <sys/statvfs.h>

#include "insio/path.h"

namespace kvl {
std::optional<std::uint64_t> FreeEntries(const std::string& path) {
  struct statvfs status;
  for (KVLInsIO::InsPath place(path); !place.IsEmpty(); place = place.Parent()) {
    if (::statvfs(place.Str().c_str(), &status) != 0) continue;
    // Where there is no table of files, their number is 0.
    if (status.f_files == 0) return {};
    return status.f_favail;
  }
  return {};
}

}  // namespace kvl
