// Copying files and directory trees. Links are followed: what arrives is always a plain file or
// directory. Owner, group and extended attributes are not copied, nor are holes: a sparse file
// arrives with its zeros written out.
//
// The first failure ends an operation with its exception; what has been copied by then stays, also
// a partly written file.
#pragma once

#include <string>

namespace KVLInsIO {

/// Copies a directory, or a link to one, as a whole tree (CopyDir), anything else as a file
/// (CopyFile).
/// Throws KVLInsException "Copy - empty source path", "Copy - empty destination path" (the source
/// is tested first); what GetType throws, so a missing source is "lstat - " + source; and what the
/// chosen operation throws.
void Copy(const std::string& source, const std::string& destination);

/// Copies the bytes of `source` into `destination`, making the destination's missing parent
/// directories (with its path normalised for this step only) before the source is looked at; they
/// stay. An empty source is one that cannot be stated, an empty destination one that cannot be
/// opened. For names that come from a disk or somebody else take OpenDirectory::CopyFile, which
/// normalises nothing, makes no parents, overwrites nothing and lets no link lead elsewhere.
///  - A new file gets the source's low nine mode bits less the umask; an existing one is
///    overwritten in place and keeps its own mode, and its links.
///  - Access and modification time become the source's, in whole seconds, unless the source's
///    access time is 0: then the copy keeps the times of its making.
/// Throws what CreateDir throws; KVLInsExceptionErrno "Cannot stat " + source; KVLInsException
/// "Cannot copy " + source + " to itself." when both are one file (same device, inode, size and
/// modification time, so also for a hard link); KVLInsException "Cannot read " + source or "Cannot
/// write into " + destination with the error's text when one cannot be opened, the former also,
/// with the text of EOPNOTSUPP, for a pipe or a device, which may never come to an end, and the
/// latter for a pipe, which would wait for a reader; KVLInsExceptionErrno "Cannot write into " +
/// destination when the data cannot be read or stored completely, with the text of ENOSPC when the
/// system took only a part of it, and with that of EAGAIN when a read would have to wait; and what
/// SetTime throws.
void CopyFile(const std::string& source, const std::string& destination);

/// Copies every entry of the directory `source` into `destination`, made when missing, also for an
/// empty source. Directories, and links to directories, are copied as trees, everything else by
/// CopyFile. New directories get mode 755 less the umask and the time of their making; existing
/// ones stay as they are, and so do entries that the source does not have. A source that is missing
/// or cannot be opened counts as empty. Names in the tree are taken as they are, and each entry is
/// copied to destination + "/" + its name, so that an empty destination stands for the root
/// directory. The directory of an entry is made by CreateDir from that whole path, whose enclosing
/// quotes are dropped, while the entry is written to the path as it stands: a destination that
/// begins with a quote may have no place for it. A link in the tree is gone through by its path, so
/// that links to directories, one behind the other, end at the system's limit for one path (Linux:
/// 40, and above 20 now and then, when a file system is mounted at the same moment). Throws
/// KVLInsException "opendir - " + directory for one in the tree that cannot be opened, unless it is
/// missing or closed to the user, and "readdir - " + directory for one whose list the system breaks
/// off; what CopyFile and CreateDir throw, the latter also for an empty directory with an empty
/// destination; what FindFirstFile throws, so "FindFirstFile - Path is empty" for an empty source;
/// KVLInsException "Cannot copy " + path + " to itself." for a directory that the place it would be
/// copied to lies inside of, and for one that the copy is already inside of, as it is with a link
/// to a directory above. Nothing of that directory has been copied then.
void CopyDir(const std::string& source, const std::string& destination);

}  // namespace KVLInsIO
