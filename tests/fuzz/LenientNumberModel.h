#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "platform/system/RVXUnicodeText.h"
#include "tests/fuzz/CharacterModel.h"

// Which characters are digits is a table; it is the program's own, whose unit test compares it with another.
inline bool isDigitInModel(const CharacterModel& character) {
  return character.isValid && decimalDigitValue(character.codePoint).has_value();
}

// Unicode's White_Space.
inline bool isWhiteSpaceInModel(const CharacterModel& character) {
  static constexpr std::u32string_view kWhiteSpace =
      U"\u0009\u000A\u000B\u000C\u000D\u0020\u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006"
      U"\u2007"
      U"\u2008\u2009\u200A\u2028\u2029\u202F\u205F\u3000";
  return character.isValid && kWhiteSpace.find(character.codePoint) != std::u32string_view::npos;
}

// The number that a text begins with: white space, one sign, digits; 0 without digits, never beyond 32 bits.
inline int32_t leadingNumberInModel(std::span<const CharacterModel> text) {
  while (!text.empty() && isWhiteSpaceInModel(text.front())) text = text.subspan(1);
  const bool isNegative = !text.empty() && text.front().is(U'-');
  if (!text.empty() && (text.front().is(U'-') || text.front().is(U'+'))) text = text.subspan(1);
  std::string digits;
  while (!text.empty() && isDigitInModel(text.front())) {
    digits += std::to_string(*decimalDigitValue(text.front().codePoint));
    text = text.subspan(1);
  }
  digits.erase(0, digits.find_first_not_of('0'));
  using Limits = std::numeric_limits<int32_t>;
  const int64_t limit = isNegative ? -int64_t{Limits::min()} : int64_t{Limits::max()};
  const bool isBeyond = digits.size() > 10 || (!digits.empty() && std::stoll(digits) > limit);
  const int64_t magnitude = isBeyond ? limit : digits.empty() ? 0 : std::stoll(digits);
  return static_cast<int32_t>(isNegative ? -magnitude : magnitude);
}

inline int32_t leadingNumberInModel(const std::string& text) {
  return leadingNumberInModel(CharacterModel::ofText(text));
}
