#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The digests that lists of other programs may hold. (HashAlgorithm is what rvxcopy itself can write.) C4 is
// SHA-512 with a text form of its own; the XXH ones have the seed 0.
enum class DigestKind : uint8_t { MD5, SHA1, SHA256, SHA512, C4, XXH32, XXH64, XXH3, XXH128 };

inline constexpr std::array kDigestKinds = {DigestKind::MD5,    DigestKind::SHA1, DigestKind::SHA256,
                                            DigestKind::SHA512, DigestKind::C4,   DigestKind::XXH32,
                                            DigestKind::XXH64,  DigestKind::XXH3, DigestKind::XXH128};

// Those of text lists. No two of them have the same length.
inline constexpr std::array kTextListDigestKinds = {DigestKind::MD5, DigestKind::SHA1, DigestKind::SHA256,
                                                    DigestKind::SHA512};

// Bytes. Those of numbers are in order from the most significant one.
constexpr size_t digestLength(DigestKind kind) {
  constexpr std::array<size_t, kDigestKinds.size()> kLengths = {16, 20, 32, 64, 64, 4, 8, 8, 16};
  return kLengths[static_cast<size_t>(kind)];
}

// The label in messages, and in the lists that have such a digest: "MD5", "SHA1", "SHA256", "SHA512" …
constexpr const char* digestLabel(DigestKind kind) {
  constexpr std::array<const char*, kDigestKinds.size()> kLabels = {
      "MD5", "SHA1", "SHA256", "SHA512", "C4", "XXH32", "XXH64", "XXH3", "XXH128"};
  return kLabels[static_cast<size_t>(kind)];
}

// The kind of text lists whose digests have that many bytes; none when there is none.
constexpr std::optional<DigestKind> digestKindOfLength(size_t bytes) {
  for (const DigestKind kind : kTextListDigestKinds) {
    if (digestLength(kind) == bytes) return kind;
  }
  return std::nullopt;
}
