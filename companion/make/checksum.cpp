#include "companion/make/checksum.h"

#include <array>

namespace kvl {
namespace {

std::array<std::uint32_t, 256> MakeTable() {
  constexpr std::uint32_t kPolynomial = 0x04C11DB7;
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t sum = byte << 24U;
    for (int bit = 0; bit < 8; ++bit) sum = (sum << 1U) ^ ((sum >> 31U) != 0 ? kPolynomial : 0);
    table[byte] = sum;
  }
  return table;
}

std::uint32_t With(std::uint32_t sum, std::uint32_t byte) {
  static const std::array<std::uint32_t, 256> table = MakeTable();
  return (sum << 8U) ^ table[(sum >> 24U) ^ byte];
}

}  // namespace

void Checksum::Add(std::string_view bytes) {
  for (const char byte : bytes) sum_ = With(sum_, static_cast<unsigned char>(byte));
  size_ += bytes.size();
}

std::uint32_t Checksum::Sum() const {
  // The length counts, too, its lowest byte first and without leading zeros.
  std::uint32_t sum = sum_;
  for (std::uint64_t rest = size_; rest != 0; rest >>= 8U) sum = With(sum, rest & 0xFFU);
  return ~sum;
}

}  // namespace kvl
