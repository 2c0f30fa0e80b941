// What kvl-media writes to the console, and the status that tells how that went.
#pragma once

#include <string>

namespace kvl {

/// What the program ends with.
enum MediaStatus : int {
  /// No findings, or the media was made or sealed, or is whole, or nothing is left of runs.
  kFine = 0,
  /// Findings, or a media that could not be made or sealed, or is not whole, or something left of runs.
  kProblems = 1,
  kBadCall = 2,          ///< a bad call, or a report that could not be written
  kNotReadToTheEnd = 3,  ///< of a media that was verified, something could not be looked at
  kFineInPart = 4,       ///< nothing is wrong with the volumes given, which are not all
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
