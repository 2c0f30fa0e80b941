// The names of the layouts of a media.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "media/volume_scan.h"

namespace kvl {

/// The layout of a media of one volume.
inline constexpr Layout kSingle = Layout::kNone;

/// In the order of the enumeration.
inline constexpr std::array<const char*, 4> kLayoutNames = {"single", "flat", "sibling", "am"};

inline const char* NameOf(Layout layout) {
  return kLayoutNames.at(static_cast<std::size_t>(layout));
}

/// Returns the layout with this name, which must be in kLayoutNames.
inline Layout LayoutNamed(std::string_view name) {
  return static_cast<Layout>(std::find(kLayoutNames.begin(), kLayoutNames.end(), name) -
                             kLayoutNames.begin());
}

}  // namespace kvl
