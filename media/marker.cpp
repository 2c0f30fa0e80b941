#include "media/marker.h"

#include <fstream>

#include "console/text.h"
#include "insio/entry.h"

namespace kvl {
namespace {

constexpr std::string_view kExtension = ".txt";
constexpr std::string_view kTagKey = "MTBDIR=";

/// Not open when there is no regular file: a pipe would keep the launcher waiting for ever.
std::ifstream OpenText(const std::string& path) {
  return KVLInsIO::IsRegularFile(path) ? std::ifstream(path) : std::ifstream();
}

}  // namespace

std::string MarkerName(std::int64_t volume) {
  return std::to_string(volume).append(kExtension);
}

std::string ReadMtbDir(const std::string& path) {
  std::ifstream marker = OpenText(path);
  std::string line;
  while (ReadLine(marker, line)) {
    if (line.starts_with(kTagKey)) return line.substr(kTagKey.size());
  }
  return {};
}

std::optional<std::string> ReadFirstLine(const std::string& path) {
  std::ifstream file = OpenText(path);
  std::string line;
  if (!ReadLine(file, line)) return std::nullopt;
  return line;
}

int VolumeOfMarkerName(std::string_view name) {
  if (!name.ends_with(kExtension)) return kNoVolume;
  const std::string number(name.substr(0, name.size() - kExtension.size()));
  return number.size() == 1 || number.size() == 2 ? ToIntOr(number, kNoVolume) : kNoVolume;
}

}  // namespace kvl
