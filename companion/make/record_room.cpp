#include "companion/make/record_room.h"

#include <string_view>

#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

std::uint64_t PathLength(const PayloadEntry& entry, std::uint64_t way) {
  return way + Escaped(entry.name, Escapes::kOfFields).size();
}

}  // namespace

std::uint64_t ListLength(const PayloadEntry& entry, std::uint64_t way) {
  constexpr std::uint64_t kDigestAndRest = 1 + 64 + 2 + 1;
  return entry.IsFile() ? kDigestAndRest + PathLength(entry, way) : 0;
}

std::uint64_t ListLength(const PayloadList& entries, std::uint64_t way) {
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : entries) length += ListLength(entry, way);
  return length;
}

std::uint64_t ListOfAllLength(const PayloadList& entries, std::uint64_t way) {
  constexpr std::uint64_t kNumberAndBlank = 4;
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : entries) {
    if (entry.IsFile()) length += kNumberAndBlank + ListLength(entry, way);
  }
  return length;
}

std::uint64_t ManifestLength(const PayloadEntry& entry, std::uint64_t way) {
  constexpr std::uint64_t kWordAndLineFeed = 11;
  if (entry.IsFile() && !entry.is_program) return 0;
  return kWordAndLineFeed + PathLength(entry, way) + 1 +
         Escaped(entry.target, Escapes::kOfFields).size();
}

std::uint64_t ManifestLength(const PayloadList& entries, std::uint64_t way) {
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : entries) length += ManifestLength(entry, way);
  return length;
}

std::uint64_t ManifestFrame(std::uint64_t volumes) {
  // The first lines, and the directories and programs on the first volume of every media.
  constexpr std::uint64_t kMedia = 320;
  // The figures of a volume, and the directories above its payload.
  constexpr std::uint64_t kVolume = 224;
  return kMedia + volumes * kVolume;
}

std::uint64_t ContentsLength(std::uint64_t volumes) {
  constexpr std::uint64_t kLine = 96;
  return volumes * kLine;
}

}  // namespace kvl
