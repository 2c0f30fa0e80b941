// Writing the image of a disc from a directory: ISO 9660 at level 3 with Rock Ridge, by the program
// xorriso(1).
#pragma once

#include <cstdint>
#include <string>

#include "companion/make/payload_split.h"

namespace kvl {

/// Whether there is a program of that name to be started; what to say when there is none.
bool HasXorriso();
inline constexpr char kNoXorriso[] = "xorriso is needed for disc images, and is not there";

struct DiscImage {
  std::string directory;  ///< what lies on it; absolute
  std::string path;       ///< where it is to lie; absolute
  std::string name;       ///< of the volume, as ISO 9660 wants it
  std::uint64_t most_bytes = kNoLimit;
};

/// The name of a volume: the tag's letters in capitals, its digits, "_" for all else, as much of it as there is
/// room for, and the number.   My suite, 2  =>  MY_SUITE_2
std::string ImageName(const std::string& tag, std::size_t volume);

// What xorriso takes at most.
inline constexpr std::uint64_t kMostOfALink = 1023;  ///< that a link holds
inline constexpr std::uint64_t kMostOfAPath = 4095;  ///< of a file to be read
inline constexpr std::uint64_t kMostOfAFile = (400ULL << 30U) - (200ULL << 10U);

/// Writes the image, and gives its size. Everything on it belongs to the superuser and has the mode and
/// the time that it has in the directory; the image has the time given, in seconds, and mode 644. The
/// same directory gives the same bytes, wherever it lies and whoever writes it, by the same xorriso.
///
/// It is written under another name, path + ".unfinished", and gets its own when it is stored; nothing may
/// be at either. A signal that ends this process ends xorriso first and leaves no image, if no other
/// thread takes it; no other thread may write to standard error. Throws std::runtime_error
/// "no image was written: " + path + " (" + what xorriso said first, or its status + ")", with what is
/// wrong with an image that is not whole, or too large; what OpenDirectory throws. Nothing is left then.
std::uint64_t WriteImage(const DiscImage& image, std::int64_t time);

}  // namespace kvl
