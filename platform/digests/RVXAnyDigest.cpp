#include "platform/digests/RVXAnyDigest.h"

#include <xxhash.h>

#include <type_traits>

#include "include/EndProcess.h"
#include "platform/system/RVXDigest.h"

namespace {

using Computation = RVXAnyDigest::Computation;

class CryptoComputation : public Computation {
 public:
  explicit CryptoComputation(DigestKind kind) : mDigest(kind) {}
  void update(std::span<const std::byte> bytes) override { mDigest.update(bytes); }
  std::string finalBytes() override { return mDigest.finalBytes(); }

 private:
  RVXDigest mDigest;
};

// By the library's functions for one kind; `canonical` puts the most significant byte first.
template <auto create, auto release, auto reset, auto updateState, auto digest, typename Canonical,
          auto canonical>
class XXHComputation : public Computation {
 public:
  XXHComputation() {
    constexpr int kSeed = 0;
    if (!mState) endProcessWithoutMemory();
    reset(mState.get(), kSeed);  // it and update fail only where there is no state
  }

  void update(std::span<const std::byte> bytes) override {
    updateState(mState.get(), bytes.data(), bytes.size());
  }

  std::string finalBytes() override {
    Canonical bytes{};
    canonical(&bytes, digest(mState.get()));
    return {reinterpret_cast<const char*>(bytes.digest), sizeof bytes.digest};
  }

 private:
  using State = std::remove_pointer_t<decltype(create())>;
  struct Free {
    void operator()(State* state) const { release(state); }
  };
  std::unique_ptr<State, Free> mState{create()};
};

using XXH32Computation = XXHComputation<XXH32_createState, XXH32_freeState, XXH32_reset, XXH32_update,
                                        XXH32_digest, XXH32_canonical_t, XXH32_canonicalFromHash>;
using XXH64Computation = XXHComputation<XXH64_createState, XXH64_freeState, XXH64_reset, XXH64_update,
                                        XXH64_digest, XXH64_canonical_t, XXH64_canonicalFromHash>;
using XXH3Computation =
    XXHComputation<XXH3_createState, XXH3_freeState, XXH3_64bits_reset_withSeed, XXH3_64bits_update,
                   XXH3_64bits_digest, XXH64_canonical_t, XXH64_canonicalFromHash>;
using XXH128Computation =
    XXHComputation<XXH3_createState, XXH3_freeState, XXH3_128bits_reset_withSeed, XXH3_128bits_update,
                   XXH3_128bits_digest, XXH128_canonical_t, XXH128_canonicalFromHash>;

std::unique_ptr<Computation> computationOf(DigestKind kind) {
  switch (kind) {
    case DigestKind::XXH32:
      return std::make_unique<XXH32Computation>();
    case DigestKind::XXH64:
      return std::make_unique<XXH64Computation>();
    case DigestKind::XXH3:
      return std::make_unique<XXH3Computation>();
    case DigestKind::XXH128:
      return std::make_unique<XXH128Computation>();
    case DigestKind::C4:
      return std::make_unique<CryptoComputation>(DigestKind::SHA512);
    default:
      return std::make_unique<CryptoComputation>(kind);
  }
}

}  // namespace

RVXAnyDigest::RVXAnyDigest(DigestKind kind) : mComputation(computationOf(kind)) {}

void RVXAnyDigest::update(std::span<const std::byte> bytes) {
  mComputation->update(bytes);
}

std::string RVXAnyDigest::finalBytes() {
  return mComputation->finalBytes();
}

std::string RVXAnyDigest::ofText(DigestKind kind, std::string_view text) {
  RVXAnyDigest digest(kind);
  digest.update(std::as_bytes(std::span(text)));
  return digest.finalBytes();
}
