// The call "kvl-media verify": its options, and what it does.
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
  /// One reader is fastest on a disc, and verify cannot know what holds the media.
  unsigned jobs = 1;
  bool as_json = false;
  bool is_waiting = false;  ///< asks for one volume after the other
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddVerify(CLI::App& app, VerifyCall& call);

/// Verifies the media and writes the report. Returns a MediaStatus.
int RunVerify(const VerifyCall& call);

}  // namespace kvl
