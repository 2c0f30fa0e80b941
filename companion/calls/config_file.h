// Options of a call that stand in a file.
#pragma once

namespace CLI {
class App;
}

namespace kvl {

/// Adds "--config FILE", in front of all other options of the call: each line of the file is a NAME =
/// VALUE, "#" begins a comment, blanks need quotes (see CLI11, "Configuration file"). What the call
/// itself has counts instead.
/// A file that cannot be read, is no regular one, has two values for one option or holds anything else
/// makes the parser throw CLI::ConfigError.
void AddConfigFile(CLI::App& call);

}  // namespace kvl
