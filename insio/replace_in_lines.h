// Replaces text in text files.
#pragma once

#include <string>

namespace KVLInsIO {

/// Replaces every occurrence of `old_text` by `new_text` in a text file, line by line, and returns
/// the number of replacements. Matches do not overlap, and the new text is not searched again. Only
/// turns backslashes in the file name into "/", and does not normalise it otherwise. Follows links;
/// they stay links. Keeps all bytes, also NUL bytes and text in any encoding.
///  - For an empty `old_text`, returns 0 without looking at the file.
///  - An `old_text` with a line feed never matches: lines are searched without their line feed.
///  - Without a match, the file is not written and keeps its times and line ends.
///  - With a match, the file is written anew, in place. It keeps its inode, its links and the nine
///    bits of its mode, even if its owner may only read it. Its times become those of the
///    rewriting.
///  - The rewritten lines are separated by one line feed each. On purpose one carriage return at
///    the end of a line is lost, and so is the last line feed of the file:
///      a\r\nb\n, b by c  =>  a\nc
///  - The function first writes the new contents to a temporary file, whose name is the file's name
///    and "_TmpRIL" and which only its owner may read. It first removes anything but a directory
///    that has this name, and a link itself, so that it writes through nothing.
///  - It needs memory for about three times the file or its new contents, whichever is larger, and
///    time in proportion to that.
///
/// Throws std::runtime_error with one of these texts, each followed by "\nReplaced: " + old_text +
/// "\nReplacing: " + new_text, without a line feed at the end:
///   "KVLInsIO::ReplaceInLines: Filename is empty"             checked first
///   "KVLInsIO::ReplaceInLines: Failed to open " + file        missing, a pipe or a device, or not
///                                                             readable for the user
///   "KVLInsIO::ReplaceInLines: Failed to read " + file        not read completely, or a directory
///   "KVLInsIO::ReplaceInLines: Failed to open " + temporary   it cannot be created
///   "KVLInsIO::ReplaceInLines: Failed to write " + temporary  not written completely; is removed
/// After each of them the file is untouched. Throws what SetReadOnly and Copy throw; then the
/// temporary file stays, with all the new contents, and the file may have become writable.
int ReplaceInLines(const std::string& file_name, const std::string& old_text,
                   const std::string& new_text);

}  // namespace KVLInsIO
