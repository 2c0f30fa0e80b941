// Verifying the signatures that minisign(1) writes. Their format and that of keys: "Signature
// format" and "Public key format" at https://jedisct1.github.io/minisign/.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kvl {

/// The longest file with a signature or a key that is read, in bytes.
inline constexpr std::size_t kMostOfASignature = 16384;

struct PublicKey {
  static constexpr std::size_t kIdSize = 8, kSize = 32;

  std::array<unsigned char, kIdSize> id = {};  ///< a signature has the id of its key
  std::array<unsigned char, kSize> bytes = {};

  /// Returns the key in the text of a public key file, or in its second line alone. Returns nothing
  /// for any other text.
  static std::optional<PublicKey> From(std::string_view text);
};

/// Returns why `signature`, the text of a signature file, does not prove that the owner of the key
/// has signed `text`; returns an empty text when it does. Stricter than minisign: checks every byte
/// of the signature file, and the first line must be the one that minisign writes by default.
/// Throws std::runtime_error when the cryptographic library cannot verify.
std::string WhyNotGenuine(const PublicKey& key, std::string_view text, std::string_view signature);

/// Returns why this is not the text of a signature file, or an empty text. Checks only the format.
std::string WhyNoSignature(std::string_view signature);

}  // namespace kvl
