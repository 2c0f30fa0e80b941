#include "companion/make/record_room.h"

#include <string_view>

#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

/// In front of an entry's name: "media/999/payload/999/".
constexpr std::uint64_t kWayToAPath = 22;

std::uint64_t PathLength(const PayloadEntry& entry) {
  return kWayToAPath + Escaped(entry.name, Escapes::kOfFields).size();
}

}  // namespace

std::uint64_t ListLength(const PayloadEntry& entry) {
  constexpr std::uint64_t kNumberDigestAndRest = 4 + 1 + 64 + 2 + 1;
  return entry.IsFile() ? kNumberDigestAndRest + PathLength(entry) : 0;
}

std::uint64_t ListLength(const PayloadList& entries) {
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : entries) length += ListLength(entry);
  return length;
}

std::uint64_t ManifestLength(const PayloadEntry& entry) {
  constexpr std::uint64_t kWordAndLineFeed = 11;
  if (entry.IsFile() && !entry.is_program) return 0;
  return kWordAndLineFeed + PathLength(entry) + 1 +
         Escaped(entry.target, Escapes::kOfFields).size();
}

std::uint64_t ManifestLength(const PayloadList& entries) {
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : entries) length += ManifestLength(entry);
  return length;
}

std::uint64_t ManifestFrame(std::uint64_t volumes) {
  // The first lines, and of the first volume the directories and programs that all media have.
  constexpr std::uint64_t kMedia = 320;
  // The figures of a volume, and the directories that its payload lies in.
  constexpr std::uint64_t kVolume = 224;
  return kMedia + volumes * kVolume;
}

}  // namespace kvl
