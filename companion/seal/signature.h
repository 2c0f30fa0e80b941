// Signatures of manifests, and the keys that they are verified with, as minisign(1) writes them: see
// https://jedisct1.github.io/minisign/, "Signature format" and "Public key format".
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kvl {

/// No signature or key is longer, whatever their comments.
inline constexpr std::size_t kMostOfASignature = 16384;

struct PublicKey {
  static constexpr std::size_t kIdSize = 8, kSize = 32;

  std::array<unsigned char, kIdSize> id = {};  ///< a signature names the key that it was made with
  std::array<unsigned char, kSize> bytes = {};

  /// The key of a public key file's text, or of the line with the key alone; nothing for any other.
  static std::optional<PublicKey> From(std::string_view text);
};

/// Why `signature`, the text of a signature file, does not prove that the owner of the key has signed
/// `text`; empty when it does. Stricter than minisign: every byte of a signature file counts, also
/// the first line, which must be the one that minisign writes on its own.
/// Throws std::runtime_error "signatures cannot be verified".
std::string WhyNotGenuine(const PublicKey& key, std::string_view text, std::string_view signature);

/// The same without a key: only what a signature must look like is looked at.
std::string WhyNoSignature(std::string_view signature);

}  // namespace kvl
