// Creating directories.
#pragma once

#include <string>

namespace KVLInsIO {

/// Makes sure that the directory exists, its ancestors included, each made with mode 755 less the
/// umask. The path is normalised first (see NormalizeString), and so is that of each ancestor: on
/// purpose "x"/y makes x, and then fails, since mkdir finds no directory of that name with its
/// quotes. An existing directory, or a link to one, is no error and stays as it is; so, on purpose,
/// does a dangling link, which mkdir takes for something that exists. A path whose last component
/// is "." by InsPath::FileName() creates its ancestors and nothing else; on purpose that includes
/// "/k.", and a dot below a file.
/// Throws KVLInsException "CreateDir - empty path"; "CreateDir - " + path + " is not a directory."
/// when something else exists there; "mkdir - " + path with the error's text. The path in the
/// message is always the whole one: that an ancestor could not be made is not reported by itself.
/// Ancestors made before the failure stay.
void CreateDir(const std::string& path);

/// As CreateDir, for a path whose names come from the system and not from a user: it is not
/// normalised, so that backslashes and quotes in names stay what they are. It has no "/" at its end.
/// Throws as CreateDir does, with the path as given.
void CreateDirExactly(const std::string& path);

}  // namespace KVLInsIO
