// Creates directories.
#pragma once

#include <string>

namespace KVLInsIO {

/// Creates the directory and its missing ancestors, each with mode 755 less the umask. An existing
/// directory, or a link to one, stays as it is.
///  - It normalises the path (see NormalizeString) and then the path of each ancestor. On purpose
///    "x"/y creates x and then fails, because mkdir finds no directory with quotes in its name.
///  - On purpose a dangling link also stays and is no error: mkdir takes it for something that
///    exists.
///  - If InsPath::FileName() gives "." for the path, only its ancestors are created. On purpose
///    that includes "/k." and a dot below a file.
///  - Ancestors that were created before a failure stay.
///
/// Throws KVLInsException "CreateDir - empty path"; "CreateDir - " + path + " is not a directory."
/// if something else exists there; "mkdir - " + path with the error's text. The message always has
/// the whole path, even if an ancestor could not be created.
void CreateDir(const std::string& path);

/// Like CreateDir, for a path whose names come from the system and not from a user. Does not
/// normalise the path, so backslashes and quotes in names stay. The path must not end in "/".
/// Throws as CreateDir does, with the path as given.
void CreateDirExactly(const std::string& path);

}  // namespace KVLInsIO
