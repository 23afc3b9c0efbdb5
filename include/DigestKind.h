#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The digests that lists of other programs may hold. (HashAlgorithm is what rvxcopy itself can write.)
enum class DigestKind : uint8_t { MD5, SHA1, SHA256, SHA512 };

inline constexpr std::array kDigestKinds = {DigestKind::MD5, DigestKind::SHA1, DigestKind::SHA256,
                                            DigestKind::SHA512};

// Bytes; as text a digest has two hexadecimal digits for each.
constexpr size_t digestLength(DigestKind kind) {
  constexpr std::array<size_t, kDigestKinds.size()> kLengths = {16, 20, 32, 64};
  return kLengths[static_cast<size_t>(kind)];
}

// The label in lists and messages: "MD5", "SHA1", "SHA256", "SHA512".
constexpr const char* digestLabel(DigestKind kind) {
  constexpr std::array<const char*, kDigestKinds.size()> kLabels = {"MD5", "SHA1", "SHA256", "SHA512"};
  return kLabels[static_cast<size_t>(kind)];
}

// The kind whose digests have that many bytes; none when there is none.
constexpr std::optional<DigestKind> digestKindOfLength(size_t bytes) {
  for (const DigestKind kind : kDigestKinds) {
    if (digestLength(kind) == bytes) return kind;
  }
  return std::nullopt;
}
