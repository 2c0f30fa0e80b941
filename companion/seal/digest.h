// SHA-256 of what lies on a media.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "insio/open_directory.h"

struct evp_md_ctx_st;

namespace kvl {

struct Digest {
  std::array<unsigned char, 32> bytes = {};

  /// 64 digits, the letters small.
  std::string Hex() const;
  /// Of a text that Hex() gives; nothing for any other.
  static std::optional<Digest> FromHex(std::string_view text);

  friend bool operator==(const Digest&, const Digest&) = default;
};

/// To be called before the cryptographic library is used. It then reads no configuration: a file of the
/// system, or one that a variable names, could have other code loaded. False when it cannot be used.
bool IsCryptoReady();

/// Of bytes that come piece by piece.
/// Throws std::runtime_error "SHA-256 cannot be computed".
class Hasher {
 public:
  Hasher();

  void Add(std::string_view bytes);
  /// How many bytes there were.
  std::uint64_t Size() const { return size_; }
  /// The digest of them all. Nothing can be added, and nothing asked, after that.
  Digest Finish();

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };
  std::unique_ptr<evp_md_ctx_st, Free> context_;
  std::uint64_t size_ = 0;
};

/// Of a whole text.
Digest DigestOf(std::string_view text);

/// Of the first bytes of an open file, up to its end: `most_bytes` keep one that grows from being read
/// for ever. `see` is told how many bytes each piece has that was read into the buffer. Throws as Read
/// does.
Digest DigestOf(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes, std::span<char> buffer,
                const std::function<void(std::size_t)>& see);

}  // namespace kvl
