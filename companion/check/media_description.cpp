#include "companion/check/media_description.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/names/path_below.h"
#include "console/text.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

constexpr std::size_t kMostOfADescription = 131'072;

std::string BeginningOf(const std::string& path, Findings& findings) {
  FileStart start = ReadStart(path, kMostOfADescription);
  AddUnseen(path, start.error, Severity::kWarning, findings);
  return std::move(start.bytes);
}

/// Reads the first element <media>. No value contains a quote or ">": `make` writes "&...;".
VolumeNumber VolumesIn(std::string_view text) {
  constexpr std::string_view kElement = "<media ", kAttribute = " volumes=\"";
  text.remove_prefix(std::min(text.find(kElement), text.size()));
  text = text.substr(0, text.find('>'));
  const std::size_t at = text.find(kAttribute);
  if (at == std::string_view::npos) return 0;
  text.remove_prefix(at + kAttribute.size());
  return ToIntOr(std::string(text.substr(0, text.find('"'))), 0);
}

}  // namespace

MediaDescription::MediaDescription(const std::string& media_dir, Findings& findings)
    : volumes_(VolumesIn(BeginningOf(PathBelow(media_dir, names::kMediaXml), findings))),
      contents_(BeginningOf(PathBelow(media_dir, names::kTableOfContents), findings)) {}

bool MediaDescription::NamesPayloadOf(VolumeNumber volume) const {
  const std::string payload = PathBelow(names::kPayload, std::to_string(volume));
  return contents_.find(" payload=\"" + payload + "\"") != std::string::npos;
}

}  // namespace kvl
