#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Text as Unicode characters, for rules that speak of characters and not of bytes.

// One character of a text: its code point and the bytes that it was read from.
struct RVXCharacter {
  char32_t codePoint = 0;
  std::string_view bytes;
};

// A byte that belongs to no valid UTF-8 sequence (RFC 3629) is a character of its own with this code point,
// which is no digit, sign or space.
inline constexpr char32_t kInvalidByte = U'\uFFFD';

// The characters of a UTF-8 text in order. Joined again, their bytes are the text, valid or not. The bytes
// stay the text's: valid as long as it is.
std::vector<RVXCharacter> charactersOf(std::string_view text);

// True when the whole text is valid UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);

// Whether the two texts differ at most in the case of ASCII letters.
bool isSameIgnoringCase(std::string_view one, std::string_view other);

// The value 0 to 9 of a character of the Unicode general category "decimal digit number" (Nd, Unicode 14);
// none for any other character.
std::optional<int> decimalDigitValue(char32_t character);

// The number at the start of the text, read leniently: leading white space, one optional sign, then decimal
// digits up to the first other character. No digits give 0; a value beyond 32 bits gives the nearest limit.
int32_t leadingNumber(const std::vector<RVXCharacter>& characters, size_t from);
int32_t leadingNumber(std::string_view text);
