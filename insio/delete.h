// Deleting files and directory trees. A symbolic link is always removed as a link, never what it
// leads to; only DeleteEmptyTree goes through links to directories, and empties what is behind them.
// Paths and names are taken as they stand. An entry of a directory is named, in messages, by the
// normalised path of that directory.
//
// The first failure ends an operation; what has been removed by then stays removed.
#pragma once

#include <string>

namespace KVLInsIO {

/// Removes a file, a link, or a directory with everything in it. A path at which nothing is, or
/// whose type cannot be found out, is no error and nothing happens. A "/" behind a link makes it
/// the directory that it leads to, whose contents go before the failure ("rmdir - ").
/// Throws KVLInsException "Delete - empty path"; "unlink - " + path or "rmdir - " + path with the
/// error's text, the path being that of the entry that could not be removed; "lstat - " + path for
/// an entry whose path leads nowhere any more, as it is with "a/.." once a is gone; "opendir - " and
/// "readdir - " as CopyDir does; and what FindFirstFile throws.
void Delete(const std::string& path);

/// Removes every entry of a directory, or of the one that a link leads to, depth first, and leaves
/// the directory. One that is missing, cannot be opened, or is none, has no entries. Throws as
/// Delete does for its entries; KVLInsException "FindFirstFile - Path is empty".
void DeleteContents(const std::string& directory);

/// Removes a tree that holds nothing but directories, itself included, and returns true. Returns
/// false when there is a file, a link to one or a dangling link anywhere in it, or when something
/// fails; branches without a file are removed even then.
///  - A link to a directory is followed, so directories outside of the tree are emptied, too, and
///    then removed as a link. One that leads back to a directory on the way to it stays, and so does
///    one that the system does not follow any more, as behind 40 others in one path.
///  - A missing directory counts as removed. An empty path gives false.
///  - On purpose a path that is no directory at all counts as one without entries, and is removed.
/// Never throws a std::exception.
bool DeleteEmptyTree(const std::string& path);

}  // namespace KVLInsIO
