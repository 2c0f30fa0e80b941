// The laws of the command line (launcher/command_line.cpp).
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// The arguments behind the program's own name; nothing stands for a null pointer.
using ArgumentList = std::vector<std::optional<std::string>>;

/// Every option, and words that look like one.
extern const std::vector<std::string> kCommandLineWords;

/// Makes a Launcher from the arguments, starting nothing, and compares all its fields, the
/// environment, what was said and the status.
void CheckCommandLineLaws(const ArgumentList& arguments);

}  // namespace kvl::test
