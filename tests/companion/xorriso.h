// Disc images that are written by hand, with the command line of the authors' guide.
#pragma once

#include "tests/companion/check_world.h"

namespace kvl::test {

inline constexpr char kXorriso[] = "/usr/bin/xorriso";

/// Returns why no image can be written here; the empty text if one can.
std::string WhyNoXorriso();

/// Returns the options in the guide's command line, except the name and path of the image.
Lines OptionsOfTheGuide();

/// Writes an image of a directory with these options, and returns its size in bytes.
std::uint64_t ImageByHand(const std::string& directory, const std::string& image);

/// Unpacks an image into a new directory.
void Unpack(const std::string& image, const std::string& directory);

}  // namespace kvl::test
