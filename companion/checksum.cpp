#include "companion/checksum.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <vector>

#include "insio/exceptions.h"
#include "insio/file_descriptor.h"

namespace kvl {
namespace {

constexpr std::size_t kBufferSize = 262'144;

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

class Sum {
 public:
  void Add(unsigned char byte) { sum_ = (sum_ << 8U) ^ Table()[(sum_ >> 24U) ^ byte]; }

  /// The length counts, too, its lowest byte first and without leading zeros.
  std::uint32_t Finish(std::uint64_t length) {
    for (; length != 0; length >>= 8U) Add(static_cast<unsigned char>(length & 0xFFU));
    return ~sum_;
  }

 private:
  static const std::array<std::uint32_t, 256>& Table() {
    static const std::array<std::uint32_t, 256> table = MakeTable();
    return table;
  }

  std::uint32_t sum_ = 0;
};

}  // namespace

Checksum ChecksumOf(const std::string& path) {
  const KVLInsIO::FileDescriptor file(path, O_RDONLY | O_NONBLOCK);
  if (!file.IsOpen()) throw KVLInsIO::KVLInsExceptionErrno("Cannot read " + path, errno);
  std::vector<unsigned char> buffer(kBufferSize);
  Sum sum;
  Checksum result;
  for (;;) {
    const ssize_t length = ::read(file.Number(), buffer.data(), buffer.size());
    if (length < 0) throw KVLInsIO::KVLInsExceptionErrno("Cannot read " + path, errno);
    if (length == 0) break;
    for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) sum.Add(buffer[i]);
    result.size += static_cast<std::uint64_t>(length);
  }
  result.sum = sum.Finish(result.size);
  return result;
}

}  // namespace kvl
