// What came of a call of make, or would come of it.
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
    std::string directory;       ///< where the launcher finds it; empty when only its image is left
    std::uint64_t files, bytes;  ///< of its payload
    std::string image = {};      ///< its disc image; empty when there is none
    std::uint64_t image_bytes = 0;  ///< of a dry run at most
  };

  bool is_dry_run = false;
  bool is_made = false;
  bool starts = false;  ///< where it lies; false for images alone
  std::string message;  ///< why it was not made, or does not start; else empty
  std::string tag;

  // Of the plan; nothing when there is none.
  std::optional<Layout> layout;
  std::vector<Volume> volumes;
  std::uint64_t needed_bytes = 0, needed_entries = 0;  ///< on the file system

  Findings findings;  ///< of the check at the end, and of the plan
};

}  // namespace kvl
