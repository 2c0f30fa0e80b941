#include "companion/make/payload_list.h"

#include <algorithm>
#include <array>
#include <functional>

namespace kvl {
namespace {

constexpr std::size_t kBlock = 65536;

/// Packs a number: seven bits in each byte, the lowest ones first. The highest bit says that
/// another byte follows.
void AddNumber(std::uint64_t number, std::string& block) {
  for (; number > 0x7F; number >>= 7U) block += static_cast<char>(number | 0x80U);
  block += static_cast<char>(number);
}

void AddText(std::string_view text, std::string& block) {
  AddNumber(text.size(), block);
  block += text;
}

constexpr std::uint64_t kTypes = 4;  // more than EntryType has

}  // namespace

std::uint64_t MarkOf(const KVLInsIO::EntryState& state) {
  const auto unsigned_of = [](std::int64_t number) { return static_cast<std::uint64_t>(number); };
  const std::array fields = {state.device,
                             state.inode,
                             std::uint64_t{state.mode},
                             state.size,
                             unsigned_of(state.modified),
                             unsigned_of(state.modified_nanoseconds),
                             unsigned_of(state.changed),
                             unsigned_of(state.changed_nanoseconds)};
  return std::hash<std::string_view>()(
      {reinterpret_cast<const char*>(fields.data()), sizeof(fields)});
}

/// Packs an entry. Most names begin as the one before, so this keeps only the end of a name.
void PayloadList::Add(const PayloadEntry& entry) {
  constexpr std::size_t kRoomForTheLast = 4096;
  if (blocks_.empty() || blocks_.back().size() >= kBlock) {
    blocks_.emplace_back().reserve(kBlock + kRoomForTheLast);
  }
  std::string& block = blocks_.back();
  const auto [own, last] = std::ranges::mismatch(entry.name, last_name_);
  AddNumber(static_cast<std::uint64_t>(own - entry.name.begin()), block);
  AddText({own, entry.name.end()}, block);
  AddNumber(static_cast<std::uint64_t>(entry.type) + (entry.is_program ? kTypes : 0), block);
  if (!entry.IsDirectory()) {
    AddNumber(entry.size, block);
    AddNumber(static_cast<std::uint64_t>(entry.modified), block);
    AddNumber(entry.mark, block);
  }
  if (entry.IsLink()) AddText(entry.target, block);
  last_name_ = entry.name;
  ++size_;
}

PayloadList::Iterator::Iterator(const PayloadList& list, std::size_t place)
    : list_(&list), place_(place) {
  if (place_ < list_->size_) Unpack();
}

PayloadList::Iterator& PayloadList::Iterator::operator++() {
  if (++place_ < list_->size_) Unpack();
  return *this;
}

void PayloadList::Iterator::Unpack() {
  if (next_ == list_->blocks_[block_].size()) {
    ++block_;
    next_ = 0;
  }
  entry_.name.resize(Number());
  entry_.name += Text();
  const std::uint64_t type = Number();
  entry_.type = static_cast<EntryType>(type % kTypes);
  entry_.is_program = type >= kTypes;
  const bool has_state = !entry_.IsDirectory();
  entry_.size = has_state ? Number() : 0;
  entry_.modified = has_state ? static_cast<std::int64_t>(Number()) : 0;
  entry_.mark = has_state ? Number() : 0;
  entry_.target = entry_.IsLink() ? Text() : std::string_view();
}

std::uint64_t PayloadList::Iterator::Number() {
  const std::string& block = list_->blocks_[block_];
  std::uint64_t number = 0;
  for (unsigned shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(block[next_++]);
    number |= std::uint64_t{byte & 0x7FU} << shift;
    if (byte <= 0x7F) return number;
  }
}

std::string_view PayloadList::Iterator::Text() {
  const std::size_t length = Number(), begin = next_;
  next_ += length;
  return std::string_view(list_->blocks_[block_]).substr(begin, length);
}

}  // namespace kvl
