#include "companion/make/image_room.h"

#include <algorithm>

namespace kvl {
namespace {

/// Blocks before the directories: the system area and two descriptors.
constexpr std::uint64_t kBlocksInFront = 18;
/// Files begin at this block at the earliest.
constexpr std::uint64_t kFirstBlockOfFiles = 32;
/// One block names the extensions of the first directory, and all empty files share one block.
constexpr std::uint64_t kFurtherBlocks = 2;

// Bytes of a record (ECMA-119, 9.1), and of its entries (SUSP, Rock Ridge).
constexpr std::uint64_t kFrame = 33, kLongest = 254;
constexpr std::uint64_t kModeAndTimes = 36 + 26;        // PX, TF
constexpr std::uint64_t kNameOfEntry = 5, kTarget = 5;  // NM, SL, without name and target
constexpr std::uint64_t kLeadingOn = 28;                // CE
/// A larger file has several extents, and a record for each of them.
constexpr std::uint64_t kMostOfAnExtent = 0xFFFF'F800;

std::uint64_t Even(std::uint64_t length) {
  return length + length % 2;
}

std::uint64_t Quotient(std::uint64_t bytes, std::uint64_t divisor) {
  return bytes / divisor + (bytes % divisor == 0 ? 0 : 1);
}

/// Returns the greatest length of the ISO 9660 identifier of a name: up to 31 characters in upper
/// case. Up to seven of them are digits that tell equal identifiers apart. That of a file has a dot
/// and ";1".
std::uint64_t IdentifierLength(const std::string_view name, bool is_directory) {
  constexpr std::uint64_t kMost = 31, kFigures = 7, kVersion = 2;
  if (is_directory) return std::min(kMost, name.size() + kFigures);
  return std::min(kMost, name.size() + 1 + kFigures) + kVersion;
}

/// The names in the target of a link.
struct LinkNames {
  std::uint64_t bytes = 0;    // of the names, with two more for each of them
  std::uint64_t further = 0;  // number of names that are too long for one entry
};

LinkNames NamesIn(std::string_view target) {
  constexpr std::uint64_t kMostInOne = 248;
  LinkNames way;
  for (std::size_t end = 0; end != std::string_view::npos; target.remove_prefix(end + 1)) {
    end = target.find('/');
    const std::string_view name = target.substr(0, end);
    way.bytes += 2 + (name == "." || name == ".." ? 0 : name.size());
    if (name.size() > kMostInOne) ++way.further;
    if (end == std::string_view::npos) break;
  }
  return way;
}

struct RecordLength {
  std::uint64_t record, continuation;
};

/// Returns the lengths of the record of a name, and of its continuation in another block if the
/// record has no room for everything. If that depends on the length of the identifier, counts both.
RecordLength LengthOf(std::string_view name, const PayloadEntry& entry) {
  const std::uint64_t frame = Even(kFrame + IdentifierLength(name, entry.IsDirectory()));
  const LinkNames way = entry.IsLink() ? NamesIn(entry.target) : LinkNames{};
  const std::uint64_t link = entry.IsLink() ? kTarget + way.bytes : 0;
  const std::uint64_t whole = frame + Even(kModeAndTimes + kNameOfEntry + name.size() + link);
  if (whole <= kLongest) return {whole, 0};
  const std::uint64_t room = kLongest - frame - kModeAndTimes - kLeadingOn - kNameOfEntry;
  const std::uint64_t rest = name.size() > room ? kNameOfEntry + name.size() - room : 0;
  // Of two successive entries for a link, at least one is half full.
  constexpr std::uint64_t kHalf = 125;
  const std::uint64_t entries = way.bytes / kHalf + 2;
  return {kLongest, rest + (entry.IsLink() ? way.bytes + 2 * way.further + kTarget * entries : 0)};
}

}  // namespace

std::uint64_t OnDisc(std::uint64_t size) {
  return Quotient(size, kDiscBlock) * kDiscBlock;
}

void ImageRoom::Records::Add(std::uint64_t length, std::uint64_t count) {
  bytes_ += length * count;
  longest_ = std::max(longest_, length);
}

std::uint64_t ImageRoom::Records::Blocks(std::uint64_t link) const {
  if (bytes_ == 0) return 0;
  if (bytes_ + link <= kDiscBlock) return 1;
  // A record that begins a block had no room at the end of the block before. Records that need more
  // than one block are rare, and this counts amply for them.
  constexpr std::uint64_t kLeast = 256;
  const std::uint64_t most = kDiscBlock - link + 1;
  return Quotient(bytes_, most < longest_ + kLeast ? kLeast : most - longest_);
}

std::uint64_t ImageRoom::Directory::Blocks() const {
  return records.Blocks(0) + continuation.Blocks(kLeadingOn);
}

ImageRoom::ImageRoom() {
  constexpr std::uint64_t kNumber = 3, kWayToIt = 4UL * (8 + 16);
  path_table_ = kWayToIt;
  Enter(kNumber);
}

void ImageRoom::Add(const PayloadEntry& entry) {
  const auto depth = std::ranges::count(entry.name, '/');
  for (; open_.size() > static_cast<std::size_t>(depth) + 1; open_.pop_back()) {
    closed_ += open_.back().Blocks();
  }
  const std::string_view name =
      std::string_view(entry.name).substr(entry.name.rfind('/') + 1);  // npos + 1 is 0
  const RecordLength length = LengthOf(name, entry);
  const std::uint64_t extents =
      std::max<std::uint64_t>(1, entry.IsFile() ? Quotient(entry.size, kMostOfAnExtent) : 1);
  open_.back().records.Add(length.record, extents);
  if (length.continuation != 0) open_.back().continuation.Add(length.continuation, extents);
  if (entry.IsFile()) data_ += Quotient(entry.size, kDiscBlock);
  if (entry.IsDirectory()) Enter(IdentifierLength(name, true));
}

std::uint64_t ImageRoom::Bytes() const {
  const std::uint64_t in_front = kBlocksInFront + BlocksOfDirectories();
  return (std::max(kFirstBlockOfFiles, in_front) + kFurtherBlocks + data_) * kDiscBlock;
}

std::uint64_t ImageRoom::BytesInAnother() const {
  return (BlocksOfDirectories() + data_) * kDiscBlock;
}

void ImageRoom::Enter(std::uint64_t length_of_identifier) {
  constexpr std::uint64_t kFrameInPathTable = 8;
  path_table_ += kFrameInPathTable + Even(length_of_identifier);
  open_.emplace_back().records.Add(Even(kFrame + 1 + kModeAndTimes), 2);
}

std::uint64_t ImageRoom::BlocksOfDirectories() const {
  std::uint64_t blocks =
      closed_ + 2 * Quotient(path_table_, kDiscBlock);  // one table for each order of bytes
  for (const Directory& directory : open_) blocks += directory.Blocks();
  return blocks;
}

}  // namespace kvl
