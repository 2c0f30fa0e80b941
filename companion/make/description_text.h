// What a media says of itself beside "inst".
#pragma once

#include <cstddef>
#include <string>

namespace kvl {

struct MediaMakeRequest;

/// "media.xml" and "meta.TOCxml".
std::string MediaXmlText(const MediaMakeRequest& request, std::size_t volumes);
std::string TableOfContentsText(std::size_t volumes);

/// "ReadMe_UNIX.txt", which the launcher names when it finds no installer: how to start the media.
std::string ReadMeText(const MediaMakeRequest& request, const std::string& installer_name,
                       std::size_t volumes);

}  // namespace kvl
