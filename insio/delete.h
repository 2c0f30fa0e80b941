// Deletes files and directory trees. It removes a symbolic link itself and never its target. Only
// DeleteEmptyTree follows links to directories and empties those. Paths and names are taken as they
// stand. A message names an entry below the normalised path of its directory.
//
// The first failure ends the operation. What was removed before stays removed.
#pragma once

#include <string>

namespace KVLInsIO {

/// Removes a file, a link, or a directory with everything in it. Does nothing if nothing exists at
/// the path or its type cannot be determined. With a "/" behind it, a link counts as the directory
/// it leads to: the contents are removed, and then the function fails with "rmdir - ". Throws
/// KVLInsException "Delete - empty path"; "unlink - " or "rmdir - " + the path of the entry that
/// could not be removed, with the error's text; "lstat - " + path for an entry whose path leads
/// nowhere any more, such as "a/.." once a is gone; "opendir - " and "readdir - " as CopyDir does;
/// and what FindFirstFile throws.
void Delete(const std::string& path);

/// Removes every entry of a directory, or of the directory that a link leads to, depth first. Keeps
/// the directory itself. Does nothing if the path is missing, cannot be opened, or is no directory.
/// Throws as Delete does for its entries, and KVLInsException "FindFirstFile - Path is empty".
void DeleteContents(const std::string& directory);

/// Removes a tree that contains only directories, itself included, and returns true. Returns false
/// if the tree contains a file, a link to one or a dangling link, or if something fails; even then
/// it removes the branches without a file.
///  - It follows a link to a directory, and so also empties directories outside the tree, and then
///    removes the link. A link stays if it leads back to a directory on the way to it, or if the
///    system follows it no further, as behind 40 other links in one path.
///  - A missing directory counts as removed. Returns false for an empty path.
///  - On purpose a path that is no directory counts as one without entries, and is removed.
///
/// Never throws a std::exception.
bool DeleteEmptyTree(const std::string& path);

}  // namespace KVLInsIO
