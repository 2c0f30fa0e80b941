// Times, mode and size of a file, and the free space of its file system. All functions follow
// links. The messages of every KVLInsExceptionErrno below end in " - " and the error's text.
//
// Times are whole seconds since the epoch. A mode is a decimal number whose digits have the meaning
// of octal digits: write 755 for rwxr-xr-x.
#pragma once

#include <cstdint>
#include <string>

namespace KVLInsIO {

struct FileTimes {
  std::int64_t access = 0;
  std::int64_t modification = 0;
  std::int64_t status_change = 0;

  friend bool operator==(const FileTimes&, const FileTimes&) = default;
};

/// Returns the times of the file. Throws KVLInsExceptionErrno "GetTime - " + path, also for an
/// empty or missing path.
[[nodiscard]] FileTimes GetTime(const std::string& path);

/// Sets the access and modification times. Throws KVLInsExceptionErrno "SetTime - " + path, also
/// for an empty or missing path.
void SetTime(const std::string& path, std::int64_t access, std::int64_t modification);

/// Sets the mode, given as decimal-coded octal: the sum of digit x 8^position.
///   644  =>  rw-r--r--     0  =>  none     8  =>  010 (octal): on purpose 8 and 9 are not refused
/// So do not write an octal number: 0644 is the decimal 420, and silently sets r---w----. Throws
/// KVLInsExceptionErrno "Chmod - " + path, also for an empty or missing path.
void Chmod(const std::string& path, unsigned mode);

inline constexpr bool kReadOnly = true;
inline constexpr bool kWritable = false;

/// Removes the owner's write permission (kReadOnly) or grants it (kWritable). Returns true if it
/// changed the mode. It then keeps only the low nine bits of the mode, so set-id and sticky bits
/// are lost. Returns false and changes nothing if the permission is already as requested, or if the
/// path is empty, missing or cannot be looked at. Throws KVLInsExceptionErrno "Chmod - " + path if
/// the mode cannot be changed.
bool SetReadOnly(const std::string& path, bool read_only);

/// Returns the size in bytes of anything but a directory. Asks the system about the normalised path
/// (see NormalizeString). Throws KVLInsException "GetFileSize - " + path + " does not exist." for
/// an empty or missing path or a dangling link, "GetFileSize - " + path + " is not a file." for a
/// directory or a link to one; KVLInsExceptionErrno "GetFileSize - Cannot stat " + normalised path;
/// and what GetType throws.
[[nodiscard]] std::int64_t GetFileSize(const std::string& path);

/// Returns how many bytes an ordinary user may still store on the file system of `path`, which it
/// normalises (see NormalizeString). If `path` does not exist, asks its nearest existing ancestor.
/// Returns 0 for an empty path and if no ancestor answers. Never throws for a failure of the
/// system.
[[nodiscard]] std::int64_t GetFreeSpace(const std::string& path);

}  // namespace KVLInsIO
