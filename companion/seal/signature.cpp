#include "companion/seal/signature.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

#include "companion/seal/digest.h"

namespace kvl {
namespace {

constexpr std::string_view kComment = "untrusted comment: ";
constexpr std::string_view kFirstOfSignature =
    "untrusted comment: signature from minisign secret key";
constexpr std::string_view kTrustedComment = "trusted comment: ";
/// A key or signature begins with one of these: the text itself was signed, or its BLAKE2b digest.
constexpr std::string_view kOfText = "Ed", kOfDigest = "ED";
constexpr std::size_t kIdSize = PublicKey::kIdSize, kKeySize = PublicKey::kSize;
constexpr std::size_t kSignatureSize = 64;

constexpr char kNoSignature[] = "it is not a signature of minisign";

constexpr char kNoCrypto[] = "libcrypto cannot verify signatures; check the library's installation";

void RequireCrypto(bool is_done) {
  if (!is_done) throw std::runtime_error(kNoCrypto);
}

const unsigned char* Unsigned(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// Decodes base64. Returns nothing for a text that is not the canonical form of its bytes.
std::optional<std::string> Decoded(std::string_view text) {
  constexpr std::size_t kLettersOfGroup = 4, kBytesOfGroup = 3;
  if (text.empty() || text.size() % kLettersOfGroup != 0) return {};
  std::string bytes(text.size() / kLettersOfGroup * kBytesOfGroup, '\0');
  auto* const room = reinterpret_cast<unsigned char*>(bytes.data());
  if (EVP_DecodeBlock(room, Unsigned(text), static_cast<int>(text.size())) < 0) return {};
  bytes.resize(bytes.size() - (text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0));
  std::string again;
  again.resize(text.size() + 1);  // EVP_EncodeBlock adds a NUL byte
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(again.data()), Unsigned(bytes),
                  static_cast<int>(bytes.size()));
  again.pop_back();
  if (again != text) return {};
  return bytes;
}

/// Removes the first line from a text and returns it; returns nothing if the text has no line feed.
std::optional<std::string_view> TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return {};
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end + 1);
  return line;
}

struct Signature {
  bool is_of_digest = false;
  std::string key_id, bytes;
  std::string comment, of_comment;  ///< `of_comment` signs `bytes` and `comment`

  static std::optional<Signature> From(std::string_view text) {
    const auto first = TakeLine(text), signature = TakeLine(text), comment = TakeLine(text),
               of_comment = TakeLine(text);
    if (!of_comment || !text.empty() || first != kFirstOfSignature ||
        !comment->starts_with(kTrustedComment)) {
      return {};
    }
    const auto bytes = Decoded(*signature), global = Decoded(*of_comment);
    constexpr std::size_t kBegin = kOfText.size() + kIdSize;
    if (!bytes || !global || bytes->size() != kBegin + kSignatureSize ||
        global->size() != kSignatureSize ||
        (!bytes->starts_with(kOfText) && !bytes->starts_with(kOfDigest))) {
      return {};
    }
    return Signature{bytes->starts_with(kOfDigest), bytes->substr(kOfText.size(), kIdSize),
                     bytes->substr(kBegin), std::string(comment->substr(kTrustedComment.size())),
                     *global};
  }
};

std::string Blake2b(std::string_view text) {
  std::string digest(EVP_MAX_MD_SIZE, '\0');
  unsigned length = 0;
  RequireCrypto(EVP_Digest(text.data(), text.size(),
                           reinterpret_cast<unsigned char*>(digest.data()), &length,
                           EVP_blake2b512(), /*impl=*/nullptr) == 1);
  digest.resize(length);
  return digest;
}

struct Free {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

/// Verifies an Ed25519 signature.
bool IsSignedBy(const PublicKey& key, std::string_view text, std::string_view signature) {
  const std::unique_ptr<EVP_PKEY, Free> raw(EVP_PKEY_new_raw_public_key(
      EVP_PKEY_ED25519, /*e=*/nullptr, key.bytes.data(), key.bytes.size()));
  const std::unique_ptr<EVP_MD_CTX, Free> context(EVP_MD_CTX_new());
  RequireCrypto(raw != nullptr && context != nullptr &&
                EVP_DigestVerifyInit(context.get(), /*pctx=*/nullptr, /*type=*/nullptr,
                                     /*e=*/nullptr, raw.get()) == 1);
  return EVP_DigestVerify(context.get(), Unsigned(signature), signature.size(), Unsigned(text),
                          text.size()) == 1;
}

}  // namespace

std::optional<PublicKey> PublicKey::From(std::string_view text) {
  if (text.starts_with(kComment)) TakeLine(text);
  if (text.ends_with('\n')) text.remove_suffix(1);
  const std::optional<std::string> bytes = Decoded(text);
  if (!bytes || bytes->size() != kOfText.size() + kIdSize + kKeySize ||
      !bytes->starts_with(kOfText)) {
    return {};
  }
  PublicKey key;
  const auto id = bytes->begin() + kOfText.size();
  std::copy_n(id, kIdSize, key.id.begin());
  std::copy_n(id + kIdSize, kKeySize, key.bytes.begin());
  return key;
}

std::string WhyNotGenuine(const PublicKey& key, std::string_view text, std::string_view signature) {
  const std::optional<Signature> parts = Signature::From(signature);
  if (!parts) return kNoSignature;
  if (!std::equal(key.id.begin(), key.id.end(), Unsigned(parts->key_id))) {
    return "it was made with another key";
  }
  RequireCrypto(IsCryptoReady());
  if (!IsSignedBy(key, parts->is_of_digest ? Blake2b(text) : text, parts->bytes)) {
    return "it is not the signature of this manifest";
  }
  const bool is_whole = IsSignedBy(key, parts->bytes + parts->comment, parts->of_comment);
  return is_whole ? "" : "its comment was changed";
}

std::string WhyNoSignature(std::string_view signature) {
  return Signature::From(signature) ? "" : kNoSignature;
}

}  // namespace kvl
