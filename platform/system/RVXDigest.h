#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "include/DigestKind.h"
#include "include/HashAlgorithm.h"

struct evp_md_ctx_st;  // the library's digest context

// An incremental MD5 (RFC 1321), SHA-1, SHA-256 or SHA-512 (FIPS 180-4) digest. Used by one thread at a time.
// Where the library refuses the digest or fails at it, the process ends: a wrong digest is never given.
class RVXDigest {
 public:
  // MD5 for HashAlgorithm::MD5, SHA-1 for any other code.
  explicit RVXDigest(HashAlgorithm algorithm);
  // Requires one of kTextListDigestKinds.
  explicit RVXDigest(DigestKind kind);

  void update(std::span<const std::byte> bytes);

  // The digest string of all that was fed to update(), or its digestLength() bytes. One of the two is to be
  // called once, at the end.
  std::string final();
  std::string finalBytes();

 private:
  struct FreeContext {
    void operator()(evp_md_ctx_st* context) const;
  };
  [[noreturn]] void endProcessRefused() const;

  DigestKind mKind;
  std::unique_ptr<evp_md_ctx_st, FreeContext> mContext;
};

// The digest strings of a text's bytes. The digest of a link is that of its target text.
std::string SHA1Sum(std::string_view text);
std::string md5(std::string_view text);
