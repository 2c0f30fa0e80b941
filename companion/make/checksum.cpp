#include "companion/make/checksum.h"

#include <array>
#include <string>

namespace kvl {
namespace {

constexpr std::array<std::uint32_t, 256> MakeTable() {
  constexpr std::uint32_t kPolynomial = 0x04C11DB7;
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t sum = byte << 24U;
    for (int bit = 0; bit < 8; ++bit) sum = (sum << 1U) ^ ((sum >> 31U) != 0 ? kPolynomial : 0);
    table[byte] = sum;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

std::uint32_t With(std::uint32_t sum, std::string_view bytes) {
  const std::uint32_t* const table = kTable.data();
  for (const char byte : bytes) {
    sum = (sum << 8U) ^ table[(sum >> 24U) ^ static_cast<unsigned char>(byte)];
  }
  return sum;
}

}  // namespace

void Checksum::Add(std::string_view bytes) {
  sum_ = With(sum_, bytes);
  size_ += bytes.size();
}

std::uint32_t Checksum::Sum() const {
  // The length counts, too, its lowest byte first and without leading zeros.
  std::string length;
  for (std::uint64_t rest = size_; rest != 0; rest >>= 8U)
    length += static_cast<char>(rest & 0xFFU);
  return ~With(sum_, length);
}

}  // namespace kvl
