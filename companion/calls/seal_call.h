// The call "kvl-media seal": its options, and what it does.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kvl {

struct SealCall {
  std::vector<std::string> directories;
  std::string key;
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddSeal(CLI::App& app, SealCall& call);

/// Signs the manifest, and writes the signature onto each volume. Returns a MediaStatus.
int RunSeal(const SealCall& call);

}  // namespace kvl
