// Times, mode and size of a file, and the room on its file system. Links are followed throughout.
// The messages of the KVLInsExceptionErrno below all end in " - " and the error's text.
//
// Times are whole seconds since the epoch. Modes are written as people write them: a decimal number
// whose digits are meant as octal ones, 755 for rwxr-xr-x.
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

/// Throws KVLInsExceptionErrno "GetTime - " + path, also for an empty or missing path.
[[nodiscard]] FileTimes GetTime(const std::string& path);

/// Sets access and modification time. Throws KVLInsExceptionErrno "SetTime - " + path, also for an
/// empty or missing path.
void SetTime(const std::string& path, std::int64_t access, std::int64_t modification);

/// Sets the mode, given as decimal-coded octal: the sum of digit x 8^position.
///   644  =>  rw-r--r--     0  =>  none     8  =>  010 (octal): on purpose 8 and 9 are not refused
/// So do not write an octal number: 0644 is the decimal 420, and sets r---w----, without a word.
/// Throws KVLInsExceptionErrno "Chmod - " + path, also for an empty or missing path.
void Chmod(const std::string& path, unsigned mode);

inline constexpr bool kReadOnly = true;
inline constexpr bool kWritable = false;

/// Takes the owner's write permission away (kReadOnly) or gives it (kWritable). True when the mode
/// had to be changed; it is then rewritten from its low nine bits, so set-id and sticky bits go.
/// False, and nothing changed, when the permission already was as wanted or `path` cannot be
/// stated, so for an empty or missing one. Throws KVLInsExceptionErrno "Chmod - " + path when the
/// mode cannot be changed.
bool SetReadOnly(const std::string& path, bool read_only);

/// The size in bytes of anything but a directory.
/// Throws KVLInsException "GetFileSize - " + path + " does not exist." for an empty or missing path
/// or a dangling link, "GetFileSize - " + path + " is not a file." for a directory or a link to
/// one; KVLInsExceptionErrno "GetFileSize - Cannot stat " + normalised path (the normalised path is
/// the one that is asked, see NormalizeString); and what GetType throws.
[[nodiscard]] std::int64_t GetFileSize(const std::string& path);

/// Bytes that an ordinary user may still store on the file system of `path` (normalised, see
/// NormalizeString) or, where that does not exist, of its nearest existing ancestor. 0 for an empty
/// path, and when no ancestor can be asked. Never throws a failure of the system.
[[nodiscard]] std::int64_t GetFreeSpace(const std::string& path);

}  // namespace KVLInsIO
