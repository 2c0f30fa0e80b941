// What the calls of kvl-media share: writing to the console, and exit statuses.
#pragma once

#include <string>

namespace kvl {

// Exit statuses
// 0: All is well: `check` found nothing, `make` made the media, `seal` signed it, `verify` read all of it
// and found it whole and, with a key, genuine, or `clean` has nothing left to remove.
// 1: There is a problem: `check` found something, the media could not be made, written to an image, or
// signed, or it cannot be started anywhere, it is not whole or not genuine, or `clean` left something or
// only listed it.
// 2: The call is wrong, or standard output cannot be written. One line on standard error says why.
// 3: `verify` could not read something, so it knows nothing about that, whatever else is wrong.
// 4: `verify` found nothing wrong with the volumes that it read, and others are left to read.
enum MediaStatus : int {
  kFine = 0,
  kProblems = 1,
  kBadCall = 2,
  kNotReadToTheEnd = 3,
  kFineInPart = 4,
};

inline constexpr char kCannotWrite[] =
    "the report cannot be written: standard output; check the file or program that receives it";

/// Returns "kvl-media: " and the text, as one line.
std::string LineForPeople(const std::string& text);

/// Writes that line to standard error. Returns kBadCall.
int BadCall(const std::string& text);

/// Returns why the parser must refuse the value, or an empty text. An empty value may come from a
/// script's variable by mistake, and must not turn an option off.
std::string RefuseEmpty(const std::string& value);

/// Writes the whole output of a call to standard output. Returns whether the system reports
/// success. A network file system may fail only when a descriptor is closed, so this closes a
/// duplicate.
bool Write(const std::string& text);

/// Returns the path on one line, quoted for a shell.
std::string Quoted(const std::string& path);

}  // namespace kvl
