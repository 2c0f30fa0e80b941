// The call "kvl-media make": its options, and what it does.
#pragma once

#include <optional>
#include <string>

#include "companion/make/media_plan.h"

namespace CLI {
class App;
}

namespace kvl {

/// The values of the options for systems. The first value of each option belongs to the first
/// system, the second one to the second system, and so on.
struct SystemOptions {
  std::vector<std::string> names, machines, installers, launchers;
};

struct MakeCall {
  MediaMakeRequest request;
  SystemOptions systems;
  std::optional<std::string> layout;       ///< the text of the option
  std::optional<std::string> volume_size;  ///< the text of the option
  std::string links = "keep";
  bool has_images = false;
  bool are_images_alone = false;
  bool is_dry_run = false;
  bool as_json = false;
  bool is_quiet = false;
  bool is_verbose = false;
};

/// Adds the subcommand, which fills `call`. `call` must outlive the parser.
void AddMake(CLI::App& app, MakeCall& call);

/// Makes the media and writes the report. Returns a MediaStatus.
int RunMake(MakeCall call);

}  // namespace kvl
