#include "platform/system/RVXDigest.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <array>
#include <cstdlib>
#include <mutex>

#include "include/DigestString.h"
#include "include/EndProcess.h"

namespace {

// The library's memory. The library does not survive every refusal, so it never gets to see one.
void* allocate(size_t size, const char* /*file*/, int /*line*/) {
  void* const memory = std::malloc(size);
  if (memory == nullptr && size > 0) endProcessWithoutMemory();
  return memory;
}
void* reallocate(void* memory, size_t size, const char* /*file*/, int /*line*/) {
  void* const moved = std::realloc(memory, size);
  if (moved == nullptr && size > 0) endProcessWithoutMemory();
  return moved;
}
void release(void* memory, const char* /*file*/, int /*line*/) {
  std::free(memory);
}

// To be called before anything else of the library.
int prepareLibrary() {
  CRYPTO_set_mem_functions(allocate, reallocate, release);
  // No configuration file and no environment variable may take the digests away or have other code loaded.
  return OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
}

// Looked up in the library only once, when it is first wanted: that takes far longer than the digest of a
// small file. Null when refused.
const EVP_MD* method(DigestKind kind) {
  [[maybe_unused]] static const int isPrepared = prepareLibrary();
  static std::array<std::once_flag, kTextListDigestKinds.size()> isLookedUp;
  static std::array<const EVP_MD*, kTextListDigestKinds.size()> methods{};
  const auto index = static_cast<size_t>(kind);
  std::call_once(isLookedUp[index],
                 [&] { methods[index] = EVP_MD_fetch(nullptr, digestLabel(kind), nullptr); });
  return methods[index];
}

const char* missingDigestName(DigestKind kind) {
  constexpr std::array<const char*, kTextListDigestKinds.size()> kNames = {
      "MD5 digest", "SHA-1 digest", "SHA-256 digest", "SHA-512 digest"};
  return kNames[static_cast<size_t>(kind)];
}

std::string stringDigest(HashAlgorithm algorithm, std::string_view text) {
  RVXDigest digest(algorithm);
  digest.update(std::as_bytes(std::span(text)));
  return digest.final();
}

}  // namespace

void RVXDigest::FreeContext::operator()(EVP_MD_CTX* context) const {
  EVP_MD_CTX_free(context);
}

RVXDigest::RVXDigest(HashAlgorithm algorithm)
    : RVXDigest(algorithm == HashAlgorithm::MD5 ? DigestKind::MD5 : DigestKind::SHA1) {}

RVXDigest::RVXDigest(DigestKind kind) : mKind(kind) {
  const EVP_MD* const digest = method(kind);  // first: it prepares the library
  mContext.reset(EVP_MD_CTX_new());
  if (digest == nullptr || !mContext || EVP_DigestInit_ex2(mContext.get(), digest, nullptr) != 1) {
    endProcessRefused();
  }
}

void RVXDigest::update(std::span<const std::byte> bytes) {
  if (EVP_DigestUpdate(mContext.get(), bytes.data(), bytes.size()) != 1) endProcessRefused();
}

std::string RVXDigest::final() {
  const std::string bytes = finalBytes();
  return digestString(std::as_bytes(std::span(bytes)));
}

std::string RVXDigest::finalBytes() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  unsigned length = 0;
  if (EVP_DigestFinal_ex(mContext.get(), digest.data(), &length) != 1) endProcessRefused();
  return {digest.begin(), digest.begin() + length};
}

void RVXDigest::endProcessRefused() const {
  const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
  endProcessWithout(missingDigestName(mKind), reason != nullptr ? reason : "refused by the digest library");
}

std::string SHA1Sum(std::string_view text) {
  return stringDigest(HashAlgorithm::SHA1, text);
}

std::string md5(std::string_view text) {
  return stringDigest(HashAlgorithm::MD5, text);
}
