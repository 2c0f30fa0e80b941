#include "media/marker.h"

#include <fstream>
#include <limits>

#include "console/text.h"
#include "insio/entry.h"

namespace kvl {
namespace {

constexpr std::string_view kTagKey = "MTBDIR=";

/// Not open when there is no regular file: a pipe would keep the launcher waiting for ever.
std::ifstream OpenText(const std::string& path) {
  return KVLInsIO::IsRegularFile(path) ? std::ifstream(path) : std::ifstream();
}

/// Reads the key of the tag if it is what comes next. False when it is not; then the stream stands at
/// the first character that differs.
bool TakeKey(std::istream& line) {
  for (const char letter : kTagKey) {
    if (line.peek() != std::istream::traits_type::to_int_type(letter)) return false;
    line.get();
  }
  return true;
}

}  // namespace

std::string MarkerName(std::int64_t volume) {
  return std::to_string(volume).append(kMarkerExtension);
}

std::string ReadMtbDir(const std::string& path) {
  std::ifstream marker = OpenText(path);
  while (marker) {
    if (TakeKey(marker)) {
      std::string tag;
      return ReadLine(marker, tag) ? tag : std::string();  // half a tag is none
    }
    marker.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
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
  if (!name.ends_with(kMarkerExtension)) return kNoVolume;
  const std::string number(name.substr(0, name.size() - kMarkerExtension.size()));
  return number.size() == 1 || number.size() == 2 ? ToIntOr(number, kNoVolume) : kNoVolume;
}

}  // namespace kvl
