// The call "kvl-media check": its options, and what it does.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kvl {

struct CheckCall {
  std::string directory;
  std::string os_name;
  std::string installer_name;
  bool as_json = false;
  bool is_verbose = false;
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddCheck(CLI::App& app, CheckCall& call);

/// Checks the media and writes the report. Returns a MediaStatus.
int RunCheck(const CheckCall& call, const std::vector<std::string>& launcher_arguments);

}  // namespace kvl
