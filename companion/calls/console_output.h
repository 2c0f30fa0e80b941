// What kvl-media writes to the console, and the status that tells how that went.
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

inline constexpr char kCannotWrite[] = "the report cannot be written";

/// "kvl-media: " and the text as one line.
std::string LineForPeople(const std::string& text);

/// Writes that line on standard error. Gives kBadCall.
int BadCall(const std::string& text);

/// For the parser: why a value is refused, or nothing. A variable of a script may be empty, and is not
/// to turn an option off.
std::string RefuseEmpty(const std::string& value);

/// Writes the one text of a call to standard output. True when it has arrived as far as the system
/// can say: a network file system may fail as late as on closing, be it of another descriptor.
bool Write(const std::string& text);

/// A path as it can be pasted into a shell, on one line.
std::string Quoted(const std::string& path);

}  // namespace kvl
