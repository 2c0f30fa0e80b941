// Access to files that a stranger has put on a disc: it never waits, reads within bounds, and
// returns the error of the system when it fails.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvl {

/// Returns true if this process may ignore the permissions of files, as the superuser may.
bool MayOverridePermissions();

/// Returns the umask of this process.
mode_t Umask();
/// Returns the umask as the shell shows it: "022".
std::string OctalUmask();

/// Returns 0 if this process may access the file, links followed, in the way `how` of access(2),
/// else the error. Asks for the effective ids, or for the real ones where the system refuses that;
/// the two differ only if this program is set-user-id.
int WhyNotAllowed(const std::string& path, int how);

struct FileStart {
  std::string bytes;  ///< empty after an error
  int error = 0;      ///< why the read failed; EISDIR or EOPNOTSUPP if it is not a regular file
};

/// Returns the first `most_bytes` bytes of a regular file, links followed, or fewer if it ends
/// before. Never waits, even if something else takes the place of the file: a read that would wait
/// fails.
FileStart ReadStart(const std::string& path, std::size_t most_bytes);

/// Does the same from byte `offset` on. Returns no bytes if the file ends before.
FileStart ReadPiece(const std::string& path, std::uint64_t offset, std::size_t most_bytes);

struct DirectoryNames {
  std::vector<std::string> names;  ///< without "." and ".."; after an error only those before it
  int error;                       ///< why names are missing, or 0
};

/// Returns the names in a directory in the order of the system. Takes the path as it stands.
DirectoryNames NamesIn(const std::string& directory);

/// Returns the same names sorted, so that every copy of the directory gives the same order.
DirectoryNames SortedNamesIn(const std::string& directory);

}  // namespace kvl
