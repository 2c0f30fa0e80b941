// The result of a call of `kvl-media make`, also of a dry run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/check/findings.h"
#include "companion/names/layout_name.h"

namespace kvl {

struct MakeReport {
  struct Volume {
    std::string
        directory;  ///< where the launcher finds the volume; empty if only its image is left
    std::uint64_t files, bytes;     ///< of its payload
    std::string image = {};         ///< path of its disc image; empty without one
    std::uint64_t image_bytes = 0;  ///< in a dry run the most that the image may take
  };

  bool is_dry_run = false;
  bool is_made = false;
  bool starts = false;  ///< true if the media starts where it lies; false for images alone
  std::string message;  ///< why the media was not made or does not start; else empty
  std::string tag;

  // The plan; empty if the call has none.
  std::optional<Layout> layout;
  std::vector<Volume> volumes;
  std::uint64_t needed_bytes = 0, needed_entries = 0;  ///< on the file system of the media

  Findings findings;  ///< of the plan and of the check at the end
};

}  // namespace kvl
