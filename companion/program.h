// The program kvl-media: reads the command line and runs one of its calls.
#pragma once

#include <string>
#include <vector>

#include "companion/calls/console_output.h"

namespace kvl {

/// Runs kvl-media with these arguments, which do not include the name of the program. Writes to the
/// console. Returns a MediaStatus. Throws nothing.
int RunKvlMedia(const std::vector<std::string>& arguments);

}  // namespace kvl
