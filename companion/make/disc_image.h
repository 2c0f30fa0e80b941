// Writing a disc image from a directory with the program xorriso(1): ISO 9660 at level 3 with Rock
// Ridge.
#pragma once

#include <cstdint>
#include <string>

#include "companion/make/payload_split.h"

namespace kvl {

/// Returns whether the program can be started.
bool HasXorriso();
/// The message when it cannot be started.
inline constexpr char kNoXorriso[] =
    "the program that writes disc images is not on PATH: xorriso; install it";

struct DiscImage {
  std::string directory;  ///< whose contents go onto the image; absolute
  std::string path;       ///< of the image; absolute
  std::string name;       ///< of the volume, as ISO 9660 requires it
  std::uint64_t most_bytes = kNoLimit;
};

/// Returns the ISO 9660 name of a volume: the tag with letters in upper case and "_" for everything
/// except letters and digits, cut off if it is too long, and the number.   My suite, 2  =>
/// MY_SUITE_2
std::string ImageName(const std::string& tag, std::size_t volume);

// The limits of xorriso, in bytes.
inline constexpr std::uint64_t kMostOfALink = 1023;  ///< target of a link
inline constexpr std::uint64_t kMostOfAPath = 4095;  ///< path of a file that it reads
inline constexpr std::uint64_t kMostOfAFile = (400ULL << 30U) - (200ULL << 10U);

/// Writes the image, and returns its size in bytes. The superuser owns everything on it; modes and
/// times are those in the directory. The image itself gets mode 644 and `time`, in seconds. With
/// the same xorriso, the same directory gives the same bytes, wherever it lies and whoever writes
/// the image.
///
/// Writes to path + ".unfinished", and renames that when it is stored; neither path may exist. A
/// signal that ends this process ends xorriso first and leaves no image, if all other threads have
/// it blocked. No other thread may write to standard error.
///
/// Throws std::runtime_error if xorriso fails, with the first line that it says, and if the image
/// is incomplete or too large; and what OpenDirectory throws. Leaves no image then.
std::uint64_t WriteImage(const DiscImage& image, std::int64_t time);

}  // namespace kvl
