#include "platform/digests/RVXAnyDigest.h"

#include <xxhash.h>

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

// The library's functions for each kind; `canonical` puts the most significant byte first.
struct XXH32Functions {
  using State = XXH32_state_t;
  using Canonical = XXH32_canonical_t;
  static constexpr auto create = XXH32_createState;
  static constexpr auto free = XXH32_freeState;
  static auto reset(State* state) { return XXH32_reset(state, 0); }
  static constexpr auto update = XXH32_update;
  static constexpr auto digest = XXH32_digest;
  static constexpr auto canonical = XXH32_canonicalFromHash;
};

struct XXH64Functions {
  using State = XXH64_state_t;
  using Canonical = XXH64_canonical_t;
  static constexpr auto create = XXH64_createState;
  static constexpr auto free = XXH64_freeState;
  static auto reset(State* state) { return XXH64_reset(state, 0); }
  static constexpr auto update = XXH64_update;
  static constexpr auto digest = XXH64_digest;
  static constexpr auto canonical = XXH64_canonicalFromHash;
};

struct XXH3Functions {
  using State = XXH3_state_t;
  using Canonical = XXH64_canonical_t;
  static constexpr auto create = XXH3_createState;
  static constexpr auto free = XXH3_freeState;
  static constexpr auto reset = XXH3_64bits_reset;
  static constexpr auto update = XXH3_64bits_update;
  static constexpr auto digest = XXH3_64bits_digest;
  static constexpr auto canonical = XXH64_canonicalFromHash;
};

struct XXH128Functions {
  using State = XXH3_state_t;
  using Canonical = XXH128_canonical_t;
  static constexpr auto create = XXH3_createState;
  static constexpr auto free = XXH3_freeState;
  static constexpr auto reset = XXH3_128bits_reset;
  static constexpr auto update = XXH3_128bits_update;
  static constexpr auto digest = XXH3_128bits_digest;
  static constexpr auto canonical = XXH128_canonicalFromHash;
};

template <typename Functions>
class XXHComputation : public Computation {
 public:
  XXHComputation() : mState(Functions::create()) {
    if (!mState) endProcessWithoutMemory();
    Functions::reset(mState.get());  // it and update() fail only where there is no state
  }

  void update(std::span<const std::byte> bytes) override {
    Functions::update(mState.get(), bytes.data(), bytes.size());
  }

  std::string finalBytes() override {
    typename Functions::Canonical canonical{};
    Functions::canonical(&canonical, Functions::digest(mState.get()));
    return {reinterpret_cast<const char*>(canonical.digest), sizeof canonical.digest};
  }

 private:
  struct Free {
    void operator()(typename Functions::State* state) const { Functions::free(state); }
  };
  std::unique_ptr<typename Functions::State, Free> mState;
};

std::unique_ptr<Computation> computationOf(DigestKind kind) {
  switch (kind) {
    case DigestKind::XXH32:
      return std::make_unique<XXHComputation<XXH32Functions>>();
    case DigestKind::XXH64:
      return std::make_unique<XXHComputation<XXH64Functions>>();
    case DigestKind::XXH3:
      return std::make_unique<XXHComputation<XXH3Functions>>();
    case DigestKind::XXH128:
      return std::make_unique<XXHComputation<XXH128Functions>>();
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
