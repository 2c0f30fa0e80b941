// The call "kvl-media clean": its options, and what it does.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace kvl {

struct CleanCall {
  std::string directory;
  bool is_removing = false;
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddClean(CLI::App& app, CleanCall& call);

/// Lists what staged runs have left, and removes it if `call` says so. Returns a MediaStatus.
int RunClean(const CleanCall& call);

}  // namespace kvl
