#include "media/marker.h"

#include <utility>

#include "console/text.h"
#include "environment/media_names.h"
#include "media/line_file.h"

namespace kvl {
namespace {

using names::kMarkerExtension;

constexpr std::string_view kTagKey = "MTBDIR=";

}  // namespace

std::string MarkerName(std::int64_t volume) {
  return std::to_string(volume).append(kMarkerExtension);
}

FileText ReadMarker(const std::string& path) {
  LineFile marker(path);
  for (std::string line; marker.Next(line);) {
    if (line.starts_with(kTagKey)) return {std::move(line.erase(0, kTagKey.size()))};
  }
  return {std::nullopt, marker.Error()};
}

std::string ReadMtbDir(const std::string& path) {
  return ReadMarker(path).text.value_or(std::string());
}

FileText ReadFirstLine(const std::string& path) {
  LineFile file(path);
  std::string line;
  if (file.Next(line)) return {std::move(line)};
  return {std::nullopt, file.Error()};
}

int VolumeOfMarkerName(std::string_view name) {
  if (!name.ends_with(kMarkerExtension)) return kNoVolume;
  const std::string number(name.substr(0, name.size() - kMarkerExtension.size()));
  return number.size() == 1 || number.size() == 2 ? ToIntOr(number, kNoVolume) : kNoVolume;
}

}  // namespace kvl
