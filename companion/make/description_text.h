// What a media says of itself beside "inst".
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companion/make/media_systems.h"

namespace kvl {

/// "media.xml" and "meta.TOCxml".
std::string MediaXmlText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                         std::size_t volumes);
std::string TableOfContentsText(std::size_t volumes);

/// "ReadMe_UNIX.txt", which the launcher names when it finds no installer: how to start the media.
std::string ReadMeText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                       std::size_t volumes);

}  // namespace kvl
