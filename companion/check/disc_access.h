// Looking at what somebody else has put on a disc: without waiting, within bounds, and with the
// system's reason when it does not work.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvl {

/// True when permissions do not keep this process from a file, as those of the superuser do not.
bool MayOverridePermissions();

/// The permissions that this process takes from what it makes.
mode_t Umask();
/// As the shell shows it: "022".
std::string OctalUmask();

/// Whether this process may do with the file what `how` says, as for access(2), links followed: 0, or
/// the error that it would meet. Asks for the effective ids where the system lets it, and else for
/// the real ones, which are the same unless somebody has made this program set-user-id.
int WhyNotAllowed(const std::string& path, int how);

struct FileStart {
  std::string bytes;  ///< empty after an error
  int error = 0;      ///< why it could not be read; of what is no regular file EISDIR or EOPNOTSUPP
};

/// The first `most_bytes` bytes of a regular file, links followed; fewer when it ends before. Never
/// waits, whatever has been put in its place: a read that would have to is an error.
FileStart ReadStart(const std::string& path, std::size_t most_bytes);

/// The same of what begins at byte `offset`; nothing when the file ends before.
FileStart ReadPiece(const std::string& path, std::uint64_t offset, std::size_t most_bytes);

struct DirectoryNames {
  std::vector<std::string> names;  ///< without "." and ".."; after an error those until then
  int error;                       ///< why they are not all
};

/// The names in a directory, whose path is taken as it stands, in the order of the system.
DirectoryNames NamesIn(const std::string& directory);

/// The same in an order that does not differ from copy to copy.
DirectoryNames SortedNamesIn(const std::string& directory);

}  // namespace kvl
