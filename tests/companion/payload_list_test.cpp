// Packing and unpacking the entries of a payload.

#include "companion/make/payload_list.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

auto PartsOf(const PayloadEntry& entry) {
  return std::tuple(entry.name, entry.type, entry.is_program, entry.size, entry.modified,
                    entry.mark, entry.target);
}

TEST(PayloadList, ReturnsEveryEntryInEachRound) {
  constexpr std::uint64_t kMost = UINT64_MAX;
  std::vector<PayloadEntry> entries = {
      {.name = "a", .type = EntryType::kDirectory},
      {.name = "a/b", .size = kMost, .modified = INT64_MIN, .mark = kMost},
      {.name = "a/bc", .is_program = true, .size = 127, .modified = -1, .mark = 128},
      {.name = "a/b\xFF", .type = EntryType::kLink, .modified = INT64_MAX, .target = "../a/\xFE"},
      {.name = std::string(100'000, 'b'), .modified = 1},
      {.name = std::string(100'000, 'b') + "/" + std::string(200, 'c')}};
  for (int i = 10'000; i < 20'000; ++i) {  // more than a block
    entries.push_back({.name = "d/" + std::to_string(i), .mark = static_cast<std::uint64_t>(i)});
  }
  PayloadList list;
  EXPECT_EQ(list.begin(), list.end());
  for (const PayloadEntry& entry : entries) list.Add(entry);
  EXPECT_EQ(list.Size(), entries.size());
  for (int round = 1; round <= 2; ++round) {
    auto expected = entries.begin();
    for (const PayloadEntry& entry : list) ASSERT_EQ(PartsOf(entry), PartsOf(*expected++));
    EXPECT_EQ(expected, entries.end());
  }
  auto next = list.begin();
  const auto kept = ++next;
  ++next;
  EXPECT_EQ(kept->name, "a/b");
  EXPECT_EQ(next->name, "a/bc");
}

TEST(MarkOf, DiffersAfterEveryChangeOfAState) {
  const KVLInsIO::EntryState state = {1, 2, 3, 4, 5, 6, 7, 8};
  const std::vector<KVLInsIO::EntryState> others = {
      {9, 2, 3, 4, 5, 6, 7, 8}, {1, 9, 3, 4, 5, 6, 7, 8}, {1, 2, 9, 4, 5, 6, 7, 8},
      {1, 2, 3, 9, 5, 6, 7, 8}, {1, 2, 3, 4, 9, 6, 7, 8}, {1, 2, 3, 4, 5, 9, 7, 8},
      {1, 2, 3, 4, 5, 6, 9, 8}, {1, 2, 3, 4, 5, 6, 7, 9}};
  EXPECT_EQ(MarkOf(state), MarkOf(KVLInsIO::EntryState(state)));
  for (const KVLInsIO::EntryState& other : others) EXPECT_NE(MarkOf(other), MarkOf(state));
}

}  // namespace
}  // namespace kvl::test
