#include "platform/system/UnicodeText.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

// The zeros of all decimal digits of Unicode 14; the other nine follow each zero directly.
constexpr auto kDigitZeros = std::to_array<char32_t>(
    {0x30,    0x660,   0x6F0,   0x7C0,   0x966,   0x9E6,   0xA66,   0xAE6,   0xB66,   0xBE6,   0xC66,
     0xCE6,   0xD66,   0xDE6,   0xE50,   0xED0,   0xF20,   0x1040,  0x1090,  0x17E0,  0x1810,  0x1946,
     0x19D0,  0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,  0xA8D0,  0xA900,  0xA9D0,
     0xA9F0,  0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066, 0x110F0, 0x11136, 0x111D0, 0x112F0,
     0x11450, 0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0, 0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60,
     0x16AC0, 0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2, 0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0});

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// How many bytes the sequence with this first byte has, and the bits of the code point in that byte.
struct SequenceStart {
  size_t length;
  char32_t bits;
  char32_t smallestCodePoint;
};

std::optional<SequenceStart> sequenceStart(unsigned char first) {
  if (first < 0x80U) return SequenceStart{1, first, 0};
  if (first >= 0xC0U && first < 0xE0U) return SequenceStart{2, first & 0x1FU, 0x80};
  if (first >= 0xE0U && first < 0xF0U) return SequenceStart{3, first & 0x0FU, 0x800};
  if (first >= 0xF0U && first < 0xF8U) return SequenceStart{4, first & 0x07U, 0x10000};
  return std::nullopt;
}

// The character that the text begins with; none when it begins with no valid sequence.
std::optional<RVXCharacter> validFirstCharacter(std::string_view text) {
  const auto start = sequenceStart(static_cast<unsigned char>(text.front()));
  if (!start || text.size() < start->length) return std::nullopt;
  char32_t codePoint = start->bits;
  for (const char byte : text.substr(1, start->length - 1)) {
    if (!isContinuation(byte)) return std::nullopt;
    codePoint = (codePoint << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (codePoint < start->smallestCodePoint || codePoint > 0x10FFFF || isSurrogate) return std::nullopt;
  return RVXCharacter{codePoint, text.substr(0, start->length)};
}

// The characters with the Unicode property White_Space.
bool isWhiteSpace(char32_t character) {
  return (character >= 0x09 && character <= 0x0D) || character == 0x20 || character == 0x85 ||
         character == 0xA0 || character == 0x1680 || (character >= 0x2000 && character <= 0x200A) ||
         character == 0x2028 || character == 0x2029 || character == 0x202F || character == 0x205F ||
         character == 0x3000;
}

}  // namespace

std::vector<RVXCharacter> charactersOf(std::string_view text) {
  std::vector<RVXCharacter> characters;
  characters.reserve(text.size());
  while (!text.empty()) {
    const RVXCharacter character =
        validFirstCharacter(text).value_or(RVXCharacter{kInvalidByte, text.substr(0, 1)});
    characters.push_back(character);
    text.remove_prefix(character.bytes.size());
  }
  return characters;
}

bool isValidUTF8(std::string_view text) {
  while (!text.empty()) {
    const auto character = validFirstCharacter(text);
    if (!character) return false;
    text.remove_prefix(character->bytes.size());
  }
  return true;
}

bool isSameIgnoringCase(std::string_view one, std::string_view other) {
  const auto upper = [](char byte) { return byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte; };
  return std::ranges::equal(one, other, {}, upper, upper);
}

std::optional<int> decimalDigitValue(char32_t character) {
  const auto* const next = std::ranges::upper_bound(kDigitZeros, character);
  if (next == kDigitZeros.begin()) return std::nullopt;
  const char32_t distance = character - *std::prev(next);
  return distance < 10 ? std::optional<int>(static_cast<int>(distance)) : std::nullopt;
}

int32_t leadingNumber(const std::vector<RVXCharacter>& characters, size_t from) {
  size_t i = from;
  while (i < characters.size() && isWhiteSpace(characters[i].codePoint)) ++i;
  bool isNegative = false;
  if (i < characters.size() && (characters[i].codePoint == U'-' || characters[i].codePoint == U'+')) {
    isNegative = characters[i].codePoint == U'-';
    ++i;
  }
  using Limits = std::numeric_limits<int32_t>;
  int64_t number = 0;
  for (; i < characters.size() && number <= Limits::max(); ++i) {
    const auto digit = decimalDigitValue(characters[i].codePoint);
    if (!digit) break;
    number = number * 10 + *digit;
  }
  if (isNegative) number = -number;
  return static_cast<int32_t>(std::clamp<int64_t>(number, Limits::min(), Limits::max()));
}

int32_t leadingNumber(std::string_view text) {
  return leadingNumber(charactersOf(text), 0);
}
