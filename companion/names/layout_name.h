// The layouts of a media in words.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "media/volume_scan.h"

namespace kvl {

/// Of a media of one volume, of which no further one is looked for.
inline constexpr Layout kSingle = Layout::kNone;

/// In the order of the enumeration.
inline constexpr std::array<const char*, 4> kLayoutNames = {"single", "flat", "sibling", "am"};

inline const char* NameOf(Layout layout) {
  return kLayoutNames.at(static_cast<std::size_t>(layout));
}

/// `name` is one of the names.
inline Layout LayoutNamed(std::string_view name) {
  return static_cast<Layout>(std::find(kLayoutNames.begin(), kLayoutNames.end(), name) -
                             kLayoutNames.begin());
}

}  // namespace kvl
