// SHA-256 digests of files and texts.
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

  /// Returns 64 hexadecimal digits in lower case.
  std::string Hex() const;
  /// Returns the digest of a text that Hex() returns, and nothing for any other text.
  static std::optional<Digest> FromHex(std::string_view text);

  friend bool operator==(const Digest&, const Digest&) = default;
};

/// Prepares the cryptographic library; call it before any other use of the library. Keeps the
/// library from reading a configuration file, which could make it load other code. Returns false
/// when the library cannot be used.
bool IsCryptoReady();

/// Computes the digest of bytes that come piece by piece. Throws std::runtime_error when the
/// library cannot compute it.
class Hasher {
 public:
  Hasher();

  void Add(std::string_view bytes);
  /// Returns how many bytes have been added.
  std::uint64_t Size() const { return size_; }
  /// Returns the digest of all bytes. Call no other function afterwards.
  Digest Finish();

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };
  std::unique_ptr<evp_md_ctx_st, Free> context_;
  std::uint64_t size_ = 0;
};

/// Returns the digest of a text.
Digest DigestOf(std::string_view text);

/// Returns the digest of an open file up to its end, or of its first `most_bytes`, so that reading
/// a file that grows comes to an end. Reads pieces into `buffer`, and calls `see` with the length
/// of each. Throws what OpenFile::Read throws.
Digest DigestOf(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes, std::span<char> buffer,
                const std::function<void(std::size_t)>& see);

}  // namespace kvl
