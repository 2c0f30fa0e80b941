// Volume markers: small text files, each named by the volume's number and ".txt". Their "MTBDIR="
// line holds the tag of the media set that the volume belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvl {

/// Returns the name of a volume's marker: the number in decimal and ".txt".
///   2  =>  2.txt
std::string MarkerName(std::int64_t volume);

/// A text from a file, or the reason why there is none.
struct FileText {
  std::optional<std::string> text;  ///< nothing if the file does not contain it
  int error = 0;                    ///< the errno of a failure to open or read the file, else 0
};

/// Returns the tag in a marker file: the rest of the first line that begins with "MTBDIR=", without
/// one carriage return at its end. A tag is opaque: any bytes, compared as they are. Returns no
/// text if the file has no such line or cannot be read that far (see LineFile for the errors and
/// for lines that it cuts). Never throws for a failure of the system.
FileText ReadMarker(const std::string& path);

/// Returns the tag alone; the empty text if ReadMarker returns none, whatever the reason.
std::string ReadMtbDir(const std::string& path);

/// Returns the first line of a text file, without its line end. Returns no text if the file has no
/// line or cannot be read (see LineFile). Never throws for a failure of the system.
FileText ReadFirstLine(const std::string& path);

inline constexpr int kNoVolume = -1;

/// Returns the number of the volume whose marker has this file name: one or two characters, which
/// ToIntOr reads, and ".txt". Returns kNoVolume if the name has another form or does not begin with
/// a number. No volume has a number below 1.
///   2.txt  =>  2     10.txt  =>  10     0.txt  =>  0     1a.txt  =>  1     -5.txt  =>  -5
///   100.txt, a.txt, 1  =>  kNoVolume
int VolumeOfMarkerName(std::string_view name);

}  // namespace kvl
