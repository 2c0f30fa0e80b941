// kvl-media, the whole program: checks and makes installation media.
#pragma once

#include <string>
#include <vector>

namespace kvl {

/// Does what the arguments ask for, the program's own name not among them, and writes to the console.
/// Gives back the exit status: 0 fine, 1 problems or a media that could not be made, 2 a bad call or
/// a report that could not be written. Throws nothing.
int RunKvlMedia(const std::vector<std::string>& arguments);

}  // namespace kvl
