// The texts of the files that describe a media.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companion/make/media_systems.h"

namespace kvl {

/// Returns the text of "media.xml".
std::string MediaXmlText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                         std::size_t volumes);
/// Returns the text of "meta.TOCxml".
std::string TableOfContentsText(std::size_t volumes);

/// Returns the text of "ReadMe_UNIX.txt", which says how to start the media. The launcher names
/// this file when it finds no installer.
std::string ReadMeText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                       std::size_t volumes);

}  // namespace kvl
