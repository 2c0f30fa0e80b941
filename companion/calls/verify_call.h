// The call "kvl-media verify": its options, and what comes of them.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kvl {

struct VerifyCall {
  std::vector<std::string> directories;
  std::string key;  ///< a file, or the key itself
  /// A disc is read best by one reader, and nobody can tell what holds the media.
  unsigned jobs = 1;
  bool as_json = false;
  bool is_waiting = false;  ///< for one volume after the other
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddVerify(CLI::App& app, VerifyCall& call);

/// Verifies the media and writes the report. Gives a MediaStatus.
int RunVerify(const VerifyCall& call);

}  // namespace kvl
