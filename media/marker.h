// Volume markers: small text files, named by the volume's number and ".txt", whose "MTBDIR=" line
// holds the tag of the media set that the volume belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvl {

/// The name of the marker of a volume: the number in decimal and ".txt".   2  =>  2.txt
std::string MarkerName(std::int64_t volume);

/// What a file says, or why it says nothing.
struct FileText {
  std::optional<std::string> text;  ///< nothing when the file does not have it
  int error = 0;                    ///< an errno, when the file cannot be opened or read
};

/// The tag in a marker file: the rest of its first line that begins with "MTBDIR=", without one
/// carriage return at its end. A tag is opaque: any bytes, compared as they are. Nothing when the
/// file has no such line, or cannot be read that far (see LineFile for the errors, and for lines
/// that are cut). Never throws a failure of the system.
FileText ReadMarker(const std::string& path);

/// The tag alone: empty when there is none, for whatever reason.
std::string ReadMtbDir(const std::string& path);

/// The first line of a text file, without its line end. Nothing when the file has no line or cannot
/// be read (see LineFile). Never throws a failure of the system.
FileText ReadFirstLine(const std::string& path);

inline constexpr int kNoVolume = -1;

/// The number of the volume that a file is the marker of, by the file's name alone: one or two
/// characters and ".txt", the characters read by ToIntOr. kNoVolume when the name has another form
/// or does not begin with a number; numbers below 1 are no volume's either.
///   2.txt  =>  2     10.txt  =>  10     0.txt  =>  0     1a.txt  =>  1     -5.txt  =>  -5
///   100.txt, a.txt, 1  =>  kNoVolume
int VolumeOfMarkerName(std::string_view name);

}  // namespace kvl
