// kvl-media, the whole program: checks, makes, seals and verifies installation media.
#pragma once

#include <string>
#include <vector>

#include "companion/calls/console_output.h"

namespace kvl {

/// Does what the arguments ask for, the program's own name not among them, and writes to the console.
/// Gives back a MediaStatus. Throws nothing.
int RunKvlMedia(const std::vector<std::string>& arguments);

}  // namespace kvl
