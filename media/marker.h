// Volume markers: small text files, named by the volume's number and ".txt", whose "MTBDIR=" line
// holds the tag of the media set that the volume belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvl {

inline constexpr std::string_view kMarkerExtension = ".txt";

/// The name of the marker of a volume: the number in decimal and ".txt".   2  =>  2.txt
std::string MarkerName(std::int64_t volume);

/// The tag in a marker file: the rest of its first line that begins with "MTBDIR=", without one
/// carriage return at the end. Empty when the file cannot be opened or read, is no regular file (a
/// pipe would be waited for), has no such line, or nothing behind the "=". A tag is opaque: any
/// bytes, compared as they are. Lines before it take no memory, however long: any large file may have
/// a marker's name. Never throws a failure of the system.
std::string ReadMtbDir(const std::string& path);

/// The first line of a text file, without its line end. Nothing when the file cannot be opened, is
/// no regular file, or has no line. Never throws a failure of the system.
std::optional<std::string> ReadFirstLine(const std::string& path);

inline constexpr int kNoVolume = -1;

/// The number of the volume that a file is the marker of, by the file's name alone: one or two
/// characters and ".txt", the characters read by ToIntOr. kNoVolume when the name has another form
/// or does not begin with a number; numbers below 1 are no volume's either.
///   2.txt  =>  2     10.txt  =>  10     0.txt  =>  0     1a.txt  =>  1     -5.txt  =>  -5
///   100.txt, a.txt, 1  =>  kNoVolume
int VolumeOfMarkerName(std::string_view name);

}  // namespace kvl
