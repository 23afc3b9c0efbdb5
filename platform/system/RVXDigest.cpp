#include "platform/system/RVXDigest.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <array>
#include <cstdlib>

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

// Looked up in the library only once: that takes far longer than the digest of a small file. Null when
// refused.
const EVP_MD* method(HashAlgorithm algorithm) {
  [[maybe_unused]] static const int isPrepared = prepareLibrary();
  static const EVP_MD* const md5Method = EVP_MD_fetch(nullptr, "MD5", nullptr);
  static const EVP_MD* const sha1Method = EVP_MD_fetch(nullptr, "SHA1", nullptr);
  return algorithm == HashAlgorithm::MD5 ? md5Method : sha1Method;
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

RVXDigest::RVXDigest(HashAlgorithm algorithm) : mAlgorithm(algorithm) {
  const EVP_MD* const digest = method(algorithm);  // first: it prepares the library
  mContext.reset(EVP_MD_CTX_new());
  if (digest == nullptr || !mContext || EVP_DigestInit_ex2(mContext.get(), digest, nullptr) != 1) {
    endProcessRefused();
  }
}

void RVXDigest::update(std::span<const std::byte> bytes) {
  if (EVP_DigestUpdate(mContext.get(), bytes.data(), bytes.size()) != 1) endProcessRefused();
}

std::string RVXDigest::final() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  unsigned length = 0;
  if (EVP_DigestFinal_ex(mContext.get(), digest.data(), &length) != 1) endProcessRefused();
  return digestString(std::as_bytes(std::span(digest).first(length)));
}

void RVXDigest::endProcessRefused() const {
  const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
  endProcessWithout(mAlgorithm == HashAlgorithm::MD5 ? "MD5 digest" : "SHA-1 digest",
                    reason != nullptr ? reason : "refused by the digest library");
}

std::string SHA1Sum(std::string_view text) {
  return stringDigest(HashAlgorithm::SHA1, text);
}

std::string md5(std::string_view text) {
  return stringDigest(HashAlgorithm::MD5, text);
}
