// The laws of splitting a command's text (console/command_split.h).
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

void CheckSplitLaws(const std::string& command);

/// Quoting the arguments and splitting the text gives them back, all but the empty ones. `choices`
/// decides, byte by byte, how each part is quoted; when it is used up, the first way is taken.
void CheckQuotingLaws(const std::vector<std::string>& arguments, const std::string& choices);

/// The installer's command arrives as it was put together where no quote and no backslash is in it.
void CheckInstallerCommandLaws(const std::vector<std::string>& texts);

}  // namespace kvl::test
