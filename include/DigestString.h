#pragma once

#include <cstddef>
#include <span>
#include <string>

// A digest as text: each byte as two lower-case hexadecimal digits, in order, without separators
// (40 characters for SHA-1, 32 for MD5). Digest strings are compared exactly.
inline std::string digestString(std::span<const std::byte> digest) {
  static constexpr char kHexDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(digest.size() * 2);
  for (const std::byte byte : digest) {
    text += kHexDigits[std::to_integer<unsigned>(byte) >> 4U];
    text += kHexDigits[std::to_integer<unsigned>(byte) & 0xFU];
  }
  return text;
}
