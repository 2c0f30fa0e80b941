// Creating directories.
#pragma once

#include <string>

namespace KVLInsIO {

/// Makes sure that the directory exists, its ancestors included, each made with mode 755 less the
/// umask. The path is normalised first (see NormalizeString), once: quotes around the name of an
/// ancestor stay. An existing directory, or a link to
/// one, is no error and stays as it is; so, on purpose, does a dangling link, which mkdir takes for
/// something that exists. A path whose last component is "." by InsPath::FileName() creates its
/// ancestors and nothing else; on purpose that includes "/k.", and a dot below a file.
/// Throws KVLInsException "CreateDir - empty path"; "CreateDir - " + path + " is not a directory."
/// when something else exists there; "mkdir - " + path with the error's text. The path in the
/// message is always the whole one: that an ancestor could not be made is not reported by itself.
/// Ancestors made before the failure stay.
void CreateDir(const std::string& path);

/// Makes sure that one directory exists, whose parent does, with mode 755 less the umask. The path
/// is taken as it stands, not normalised. An existing directory, or a link to one, is no error and
/// stays as it is.
/// Throws KVLInsException "CreateDir - " + path + " is not a directory." when something else exists
/// there, also a dangling link; "mkdir - " + path with the error's text, also for an empty path and
/// one whose parent is missing.
void CreateOneDir(const std::string& path);

}  // namespace KVLInsIO
