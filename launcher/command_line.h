// The command line.
#pragma once

#include <string>

#include "launcher/launcher_state.h"

namespace kvl {

/// Reads CurrentMediaDir, then the arguments behind the first one, into `state`. "-env" takes effect
/// at once. `argv` may be null: then there are no arguments. Returns the error message that the
/// launcher is to end with, the arguments before the bad one applied; the empty text when all is
/// well:
///   "Bad -env argument", "Bad -installerPath argument": the option is the last argument,
///   or a null pointer follows; anywhere else a null pointer ends the arguments
///   "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback)."
///   "-List must be used with the -SoftMgt flag.", likewise -Check, -Commit, -Rollback
std::string ReadCommandLine(int argc, const char* const* argv, LauncherState& state);

}  // namespace kvl
