// Copies files and directory trees. It follows links, so the copy contains only plain files and
// directories. It does not copy owner, group, extended attributes or holes: a sparse file arrives
// with its zeros written out.
//
// The first failure ends the copy with an exception. What was copied before stays, including a
// partly written file.
#pragma once

#include <string>

namespace KVLInsIO {

/// Copies a directory, or a link to one, as a tree (CopyDir), and anything else as a file
/// (CopyFile). Throws KVLInsException "Copy - empty source path", then "Copy - empty destination
/// path"; what GetType throws, so "lstat - " + source for a missing source; and what CopyDir or
/// CopyFile throws.
void Copy(const std::string& source, const std::string& destination);

/// Copies the bytes of `source` into `destination`.
///  - Before it looks at the source, it creates the destination's missing parent directories. Only
///    for this step it normalises the destination. The new directories stay even if the copy fails.
///  - A new file gets the low nine mode bits of the source, less the umask. An existing file is
///    overwritten in place and keeps its own mode and its links.
///  - The access and modification times become those of the source, in whole seconds. If the
///    source's access time is 0, the copy keeps the times of its creation.
///  - For names that come from a disk or from somebody else, use OpenDirectory::CopyFile: it
///    normalises nothing, creates no parents, overwrites nothing, and follows no link.
///
/// Throws:
///  - what CreateDir throws;
///  - KVLInsExceptionErrno "Cannot stat " + source, also for an empty source;
///  - KVLInsException "Cannot copy " + source + " to itself." if both are one file (same device,
///    inode, size and modification time), so also for a hard link;
///  - KVLInsException "Cannot read " + source with the error's text if the source cannot be opened;
///    with the text of EOPNOTSUPP for a pipe or a device, which may never end;
///  - KVLInsException "Cannot write into " + destination with the error's text if the destination
///    cannot be opened, so also if it is empty; with the text of EOPNOTSUPP for a pipe, which would
///    wait for a reader;
///  - KVLInsExceptionErrno "Cannot write into " + destination if not all data can be read or
///    stored; with the text of ENOSPC if the system took only a part, and of EAGAIN if a read would
///    have to wait;
///  - what SetTime throws.
void CopyFile(const std::string& source, const std::string& destination);

/// Copies every entry of the directory `source` into the directory `destination`, and creates the
/// latter if it is missing, also for an empty source.
///  - It copies directories, and links to directories, as trees, and everything else by CopyFile.
///  - A new directory gets mode 755 less the umask, and the time of its creation. An existing one
///    stays as it is, and so do entries that the source does not have.
///  - A source that is missing or cannot be opened counts as empty.
///  - It takes names in the tree as they are and copies each entry to destination + "/" + its name.
///    An empty destination thus stands for the root directory.
///  - CreateDir makes the directory of an entry from that whole path and drops quotes that enclose
///    it, while the entry is written to the path as it stands. Below a destination that begins with
///    a quote, an entry's directory may therefore be missing.
///  - It follows a link in the tree by its path. Links to directories, one behind the other,
///    therefore end at the system's limit for one path (Linux: 40, and now and then above 20 if
///    somebody mounts a file system at the same moment).
///
/// Throws:
///  - what FindFirstFile throws, so "FindFirstFile - Path is empty" for an empty source;
///  - KVLInsException "Cannot copy " + path + " to itself." for a directory whose copy would lie
///    inside it or already does, for example because a link leads to a directory above. Nothing of
///    that directory has been copied then;
///  - KVLInsException "opendir - " + directory for a directory in the tree that cannot be opened,
///    unless it is missing or the user lacks the permission;
///  - KVLInsException "readdir - " + directory if the system breaks off its list;
///  - what CopyFile and CreateDir throw; the latter also for an empty directory and an empty
///    destination.
void CopyDir(const std::string& source, const std::string& destination);

}  // namespace KVLInsIO
