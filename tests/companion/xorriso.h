// Disc images as those make them who do it by hand, by the line of the authors' guide.
#pragma once

#include "tests/companion/check_world.h"

namespace kvl::test {

inline constexpr char kXorriso[] = "/usr/bin/xorriso";

/// Why no image can be made here; empty when one can.
std::string WhyNoXorriso();

/// The options of the guide's line, without name and place of the image.
Lines OptionsOfTheGuide();

/// Makes an image of a directory as the guide has it, and gives its size.
std::uint64_t ImageByHand(const std::string& directory, const std::string& image);

/// Unpacks an image into a new directory.
void Unpack(const std::string& image, const std::string& directory);

}  // namespace kvl::test
