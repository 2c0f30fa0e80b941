#include "companion/calls/progress_line.h"

#include <cstdio>
#include <utility>

namespace kvl {

ProgressLine::~ProgressLine() {
  if (!line_.empty()) std::fputs(kRemoved, stderr);
}

void ProgressLine::Show(std::size_t volume, std::uint64_t done, std::uint64_t in_all) {
  if (!is_shown_) return;
  const std::uint64_t percent = in_all == 0 ? 100 : done / (in_all / 100 + 1);
  std::string line =
      "Volume " + std::to_string(volume) + ", " + std::to_string(percent) + " % of the payload";
  if (line == line_) return;
  line_ = std::move(line);
  std::fprintf(stderr, "\r%s\033[K", line_.c_str());
}

}  // namespace kvl
