#include "companion/seal/digest.h"

#include <algorithm>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <stdexcept>

namespace kvl {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr unsigned kBase = 16;

constexpr char kNoDigest[] = "libcrypto cannot compute SHA-256; check the library's installation";

void ThrowUnless(bool is_done) {
  if (!is_done) throw std::runtime_error(kNoDigest);
}

}  // namespace

std::string Digest::Hex() const {
  std::string text;
  for (const unsigned byte : bytes) {
    text += kDigits[byte / kBase];
    text += kDigits[byte % kBase];
  }
  return text;
}

std::optional<Digest> Digest::FromHex(std::string_view text) {
  Digest digest;
  if (text.size() != 2 * digest.bytes.size()) return {};
  for (std::size_t i = 0; i < digest.bytes.size(); ++i) {
    const std::size_t high = kDigits.find(text[2 * i]), low = kDigits.find(text[2 * i + 1]);
    if (high == std::string_view::npos || low == std::string_view::npos) return {};
    digest.bytes[i] = static_cast<unsigned char>(high * kBase + low);
  }
  return digest;
}

bool IsCryptoReady() {
  static const bool is_ready = OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1;
  return is_ready;
}

void Hasher::Free::operator()(evp_md_ctx_st* context) const {
  EVP_MD_CTX_free(context);
}

Hasher::Hasher() {
  ThrowUnless(IsCryptoReady());
  context_.reset(EVP_MD_CTX_new());
  ThrowUnless(context_ != nullptr &&
              EVP_DigestInit_ex(context_.get(), EVP_sha256(), /*impl=*/nullptr) == 1);
}

void Hasher::Add(std::string_view bytes) {
  ThrowUnless(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
  size_ += bytes.size();
}

Digest Hasher::Finish() {
  Digest digest;
  ThrowUnless(EVP_DigestFinal_ex(context_.get(), digest.bytes.data(), /*s=*/nullptr) == 1);
  return digest;
}

Digest DigestOf(std::string_view text) {
  Hasher hasher;
  hasher.Add(text);
  return hasher.Finish();
}

Digest DigestOf(const KVLInsIO::OpenFile& file, std::uint64_t most_bytes, std::span<char> buffer,
                const std::function<void(std::size_t)>& see) {
  Hasher hasher;
  while (hasher.Size() < most_bytes) {
    const std::uint64_t left = most_bytes - hasher.Size();
    const std::span<char> room = buffer.first(std::min<std::uint64_t>(left, buffer.size()));
    const std::size_t length = file.Read(hasher.Size(), room);
    if (length == 0) break;
    hasher.Add({room.data(), length});
    see(length);
  }
  return hasher.Finish();
}

}  // namespace kvl
