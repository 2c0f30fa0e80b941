// The option --config: takes other options of a call from a file.
#pragma once

namespace CLI {
class App;
}

namespace kvl {

/// Adds "--config FILE". Call it before other options are added. Each line of the file is NAME =
/// VALUE. "#" begins a comment. Text with blanks needs quotes. An option that the call gives
/// overrides the file. See "Configuration file" in the documentation of CLI11.
///
/// The parser throws CLI::ConfigError when the file cannot be read, is not a regular file, gives
/// two values for an option that takes one, or holds anything else.
void AddConfigFile(CLI::App& call);

}  // namespace kvl
