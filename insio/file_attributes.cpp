#include "insio/file_attributes.h"

#include <sys/stat.h>
#include <sys/vfs.h>
#include <utime.h>

#include <limits>

#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"
#include "insio/path.h"

namespace KVLInsIO {

using internal::ThrowUnless;

namespace {

constexpr mode_t kLowNineBits = 0777;

mode_t FromDecimalCodedOctal(unsigned mode) {
  mode_t bits = 0;
  for (mode_t weight = 1; mode != 0; mode /= 10, weight *= 8) bits += (mode % 10) * weight;
  return bits;
}

unsigned ToDecimalCodedOctal(mode_t bits) {
  unsigned mode = 0;
  for (unsigned weight = 1; bits != 0; bits /= 8, weight *= 10) mode += (bits % 8) * weight;
  return mode;
}

/// Returns the product, or the greatest number that fits: some virtual file systems claim to be
/// endless.
std::int64_t Product(std::uint64_t blocks, std::uint64_t block_size) {
  constexpr std::uint64_t kGreatest = std::numeric_limits<std::int64_t>::max();
  const bool fits = block_size == 0 || blocks <= kGreatest / block_size;
  return static_cast<std::int64_t>(fits ? blocks * block_size : kGreatest);
}

}  // namespace

FileTimes GetTime(const std::string& path) {
  struct stat status;
  ThrowUnless<KVLInsExceptionErrno>(::stat(path.c_str(), &status) == 0, "GetTime - ", path);
  return {status.st_atime, status.st_mtime, status.st_ctime};
}

void SetTime(const std::string& path, std::int64_t access, std::int64_t modification) {
  const utimbuf times = {access, modification};
  ThrowUnless<KVLInsExceptionErrno>(::utime(path.c_str(), &times) == 0, "SetTime - ", path);
}

void Chmod(const std::string& path, unsigned mode) {
  ThrowUnless<KVLInsExceptionErrno>(::chmod(path.c_str(), FromDecimalCodedOctal(mode)) == 0,
                                    "Chmod - ", path);
}

bool SetReadOnly(const std::string& path, bool read_only) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return false;
  const mode_t permissions = status.st_mode & kLowNineBits;
  const bool is_read_only = (permissions & S_IWUSR) == 0;
  if (is_read_only == read_only) return false;
  Chmod(path, ToDecimalCodedOctal(permissions ^ S_IWUSR));
  return true;
}

std::int64_t GetFileSize(const std::string& path) {
  if (!Exists(path)) throw KVLInsException("GetFileSize - " + path + " does not exist.");
  if (!IsFile(path)) throw KVLInsException("GetFileSize - " + path + " is not a file.");
  const std::string normalised = InsPath(path).Str();
  struct stat status;
  ThrowUnless<KVLInsExceptionErrno>(::stat(normalised.c_str(), &status) == 0,
                                    "GetFileSize - Cannot stat ", normalised);
  return status.st_size;
}

std::int64_t GetFreeSpace(const std::string& path) {
  for (InsPath place(path); !place.IsEmpty(); place = place.Parent()) {
    struct statfs status;
    if (::statfs(place.Str().c_str(), &status) == 0) {
      return Product(status.f_bavail, static_cast<std::uint64_t>(status.f_bsize));
    }
  }
  return 0;
}

}  // namespace KVLInsIO
