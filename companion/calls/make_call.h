// The call "kvl-media make": its options, and what comes of them.
#pragma once

#include <optional>
#include <string>

#include "companion/make/media_plan.h"

namespace CLI {
class App;
}

namespace kvl {

/// The first of each belong together, the second of each, and so on.
struct SystemOptions {
  std::vector<std::string> names, machines, installers, launchers;
};

struct MakeCall {
  MediaMakeRequest request;
  SystemOptions systems;
  std::optional<std::string> layout;       // as it was given
  std::optional<std::string> volume_size;  // likewise
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

/// Makes the media and says where it lies. Gives a MediaStatus.
int RunMake(MakeCall call);

}  // namespace kvl
