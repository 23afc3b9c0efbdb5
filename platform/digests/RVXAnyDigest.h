#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "include/DigestKind.h"

// An incremental digest of any kind that a list may hold. Used by one thread at a time. Where a library
// refuses the digest, or there is no memory for it, the process ends: a wrong digest is never given.
class RVXAnyDigest {
 public:
  explicit RVXAnyDigest(DigestKind kind);

  void update(std::span<const std::byte> bytes);

  // The digestLength() bytes of all that was fed to update(). To be called once, at the end.
  std::string finalBytes();

  // The same of a whole text.
  static std::string ofText(DigestKind kind, std::string_view text);

  // How one library computes it.
  class Computation {
   public:
    virtual ~Computation() = default;
    virtual void update(std::span<const std::byte> bytes) = 0;
    virtual std::string finalBytes() = 0;
  };

 private:
  std::unique_ptr<Computation> mComputation;
};
