#include "formats/DigestText.h"

#include <charconv>
#include <cstdint>
#include <span>

#include "formats/C4Text.h"
#include "include/DigestString.h"

namespace {

std::optional<std::string> bytesOfHex(std::string_view digits) {
  std::string bytes;
  for (; !digits.empty(); digits.remove_prefix(2)) {
    uint8_t byte = 0;
    const char* const end = digits.data() + 2;
    if (std::from_chars(digits.data(), end, byte, 16).ptr != end) return std::nullopt;
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace

std::string digestText(DigestKind kind, std::string_view digest) {
  return kind == DigestKind::C4 ? c4Text(digest) : digestString(std::as_bytes(std::span(digest)));
}

std::optional<std::string> digestOfText(DigestKind kind, std::string_view text) {
  if (kind == DigestKind::C4) return digestOfC4Text(text);
  return text.size() == digestLength(kind) * 2 ? bytesOfHex(text) : std::nullopt;
}

std::optional<std::string> digestOfDecimalText(std::string_view text) {
  constexpr size_t kMostDigits = 10;
  uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end || text.size() > kMostDigits) return std::nullopt;
  std::string bytes;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>(number >> shift & 0xFFU);
  return bytes;
}
