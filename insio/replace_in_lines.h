// Replacing text in text files.
#pragma once

#include <string>

namespace KVLInsIO {

/// Replaces every occurrence of `old_text` by `new_text` in a text file, line by line, and returns
/// the number of replacements. Matches do not overlap, and what was put in is not searched again.
/// The file name is used with backslashes turned into "/", and not normalised in any other way;
/// links are followed and stay links. Bytes are bytes: NUL bytes and text in any encoding are kept.
///  - An empty `old_text` replaces nothing: 0, without a look at the file.
///  - An `old_text` with a line feed never matches: a line is searched without the one at its end.
///  - Without an occurrence the file is not written, and keeps its times and its line ends.
///  - Otherwise the file is written anew, in place: its inode, its links and the nine bits of its
///    mode stay, also when it is read-only for its owner; its times become those of the rewriting.
///    The lines are then separated by one line feed each: on purpose one carriage return at the end
///    of a line goes, and so does the last line feed of the file.   a\r\nb\n, b by c  =>  a\nc
/// The new contents are first written to the file's name with "_TmpRIL" behind it, beside the file, for
/// nobody but the owner to read. What has that name already, but for a directory, is removed first,
/// links and hard links as such, so that nothing is written through it. Needs memory for about three
/// times the file or its new contents, whichever is larger, and time in proportion to it.
///
/// Throws std::runtime_error, each text followed by "\nReplaced: " + old_text + "\nReplacing: " +
/// new_text, without a line feed at the end:
///   "KVLInsIO::ReplaceInLines: Filename is empty"             this is looked at first
///   "KVLInsIO::ReplaceInLines: Failed to open " + file        it is missing, may not be read, or is a
///                                                             pipe or a device
///   "KVLInsIO::ReplaceInLines: Failed to read " + file        not all of it; also a directory
///   "KVLInsIO::ReplaceInLines: Failed to open " + temporary   it cannot be made
///   "KVLInsIO::ReplaceInLines: Failed to write " + temporary  not all of it; it is gone again
/// The file is untouched after each of them. What SetReadOnly and Copy throw passes through; the
/// temporary file, with all the new contents, then stays, and the file may have become writable.
int ReplaceInLines(const std::string& file_name, const std::string& old_text,
                   const std::string& new_text);

}  // namespace KVLInsIO
