// Copying files and directory trees. Links are followed: what arrives is always a plain file or
// directory. Owner, group and extended attributes are not copied.
//
// The first failure ends an operation with its exception; what has been copied by then stays, also
// a partly written file.
#pragma once

#include <string>

namespace KVLInsIO {

/// Copies a directory, or a link to one, as a whole tree (CopyDir), anything else as a file
/// (CopyFile).
/// Throws KVLInsException "Copy - empty source path", "Copy - empty destination path" (the source is
/// tested first); what GetType throws, so a missing source is "lstat - " + source; and what the
/// chosen operation throws.
void Copy(const std::string& source, const std::string& destination);

/// Copies the bytes of `source` into `destination`, making the destination's missing parent
/// directories (with its path normalised for this step only) before the source is looked at; they
/// stay. An empty source is one that cannot be stated, an empty destination one that cannot be opened.
///  - A new file gets the source's low nine mode bits less the umask; an existing one is overwritten
///    in place and keeps its own mode, and its links.
///  - Access and modification time become the source's, in whole seconds, unless the source's access
///    time is 0: then the copy keeps the times of its making.
/// Throws what CreateDir throws; KVLInsExceptionErrno "Cannot stat " + source; KVLInsException
/// "Cannot copy " + source + " to itself." when both are one file (same device, inode, size and
/// modification time, so also for a hard link); KVLInsException "Cannot read " + source or "Cannot
/// write into " + destination with the error's text when one cannot be opened; KVLInsExceptionErrno
/// "Cannot write into " + destination when the data cannot be read or stored completely, with the
/// text of ENOSPC when the system took only a part of it; and what SetTime throws.
void CopyFile(const std::string& source, const std::string& destination);

/// Copies every entry of the directory `source` into `destination`, made when missing, also for an
/// empty source. Directories, and links to directories, are copied as trees, everything else by
/// CopyFile. New directories get mode 755 less the umask and the time of their making. A source
/// that is missing or cannot be opened counts as empty. Throws what FindFirstFile, CopyFile and
/// CreateDir throw.
void CopyDir(const std::string& source, const std::string& destination);

}  // namespace KVLInsIO
