#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "platform/system/RVXDigest.h"
#include "platform/system/RVXUnicodeText.h"

namespace {

std::u32string codePointsOf(std::string_view text) {
  std::u32string codePoints;
  for (const RVXCharacter& character : charactersOf(text)) codePoints += character.codePoint;
  return codePoints;
}

constexpr auto kNoText = {"\x80",              // a continuation alone
                          "\xC3",              // a start alone
                          "\xC3(",             // a start without its continuation
                          "\xE2\x82",          // cut short
                          "\xF0\x9F\x98",      // cut short
                          "\xC0\xAF",          // overlong
                          "\xC1\xBF",          // overlong
                          "\xE0\x9F\xBF",      // overlong
                          "\xF0\x8F\xBF\xBF",  // overlong
                          "\xED\xA0\x80",      // the first surrogate
                          "\xED\xBF\xBF",      // the last surrogate
                          "\xF4\x90\x80\x80",  // beyond the last code point
                          "\xF8\x88\x80\x80\x80",
                          "\xFE",
                          "\xFF"};

}  // namespace

TEST(RVXUnicodeTextTest, CharactersOfEverySequenceLength) {
  EXPECT_EQ(codePointsOf("a\u00E4\u20AC\U0001F600"), U"a\u00E4\u20AC\U0001F600");
}

TEST(RVXUnicodeTextTest, CharactersAtTheLimitsOfEverySequenceLength) {
  EXPECT_EQ(codePointsOf("\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"),
            U"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF");
}

TEST(RVXUnicodeTextTest, CharactersOfEmptyText) {
  EXPECT_TRUE(charactersOf("").empty());
}

TEST(RVXUnicodeTextTest, ZeroIsACharacter) {
  EXPECT_EQ(codePointsOf(std::string_view("a\0b", 3)), std::u32string(U"a\0b", 3));
}

TEST(RVXUnicodeTextTest, BytesOfACharacterArePartOfTheText) {
  const std::string text = "a\u20ACb";
  const auto characters = charactersOf(text);
  ASSERT_EQ(characters.size(), 3U);
  EXPECT_EQ(characters[1].bytes, "\u20AC");
  EXPECT_EQ(characters[1].bytes.data(), text.data() + 1);
}

TEST(RVXUnicodeTextTest, EveryInvalidByteIsACharacterOfItsOwn) {
  for (const std::string_view bytes : kNoText) {
    const auto characters = charactersOf(bytes);
    EXPECT_EQ(characters.front().codePoint, kInvalidByte);
    EXPECT_EQ(characters.front().bytes.size(), 1U);
  }
}

TEST(RVXUnicodeTextTest, ValidTextBehindAnInvalidByteIsRead) {
  EXPECT_EQ(codePointsOf("\xFF"
                         "1\xC3\u00E4"),
            U"\uFFFD1\uFFFD\u00E4");
}

TEST(RVXUnicodeTextTest, BytesJoinedAgainAreTheText) {
  for (const std::string_view bytes : kNoText) {
    const std::string text = std::string("a").append(bytes).append("\u20AC").append(bytes);
    std::string joined;
    for (const RVXCharacter& character : charactersOf(text)) joined += character.bytes;
    EXPECT_EQ(joined, text);
  }
}

TEST(RVXUnicodeTextTest, ValidTexts) {
  for (const char* text : {"", "abc", "\u00E4", "\u20AC", "\U0001F600", "\uFFFD", "\uFEFF"}) {
    EXPECT_TRUE(isValidUTF8(text)) << text;
  }
}

TEST(RVXUnicodeTextTest, InvalidTexts) {
  for (const std::string_view bytes : kNoText) {
    EXPECT_FALSE(isValidUTF8(bytes));
    EXPECT_FALSE(isValidUTF8(std::string("abc").append(bytes)));
    EXPECT_FALSE(isValidUTF8(std::string(bytes).append("abc")));
  }
}

TEST(RVXUnicodeTextTest, ASCIIDigits) {
  for (char32_t digit = U'0'; digit <= U'9'; ++digit) {
    EXPECT_EQ(decimalDigitValue(digit), static_cast<int>(digit - U'0'));
  }
  EXPECT_FALSE(decimalDigitValue(U'/').has_value());
  EXPECT_FALSE(decimalDigitValue(U':').has_value());
}

TEST(RVXUnicodeTextTest, CharactersThatLookLikeDigitsAreNone) {
  // superscript two, one half, roman numeral two, circled one, the ideograph for three, the invalid byte
  for (const char32_t character : {U'\u00B2', U'\u00BD', U'\u2161', U'\u2460', U'\u4E09', kInvalidByte}) {
    EXPECT_FALSE(decimalDigitValue(character).has_value());
  }
}

TEST(RVXUnicodeTextTest, DecimalDigitsAreThoseOfUnicode14) {
  // Every character of the category Nd with its value, compared with a list made from Python's unicodedata:
  // sha1 of "".join("%X=%d\n" % (c, decimal(chr(c))) for c in range(0x110000) if category(chr(c)) == "Nd").
  std::string list;
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    if (const auto value = decimalDigitValue(character)) {
      std::array<char, 16> line{};
      std::snprintf(line.data(), line.size(), "%X=%d\n", static_cast<unsigned>(character), *value);
      list += line.data();
    }
  }
  EXPECT_EQ(SHA1Sum(list), "880b124265afe58eff8b72b494ea5b808aa7b0bd");
}

TEST(RVXUnicodeTextTest, LeadingNumbers) {
  EXPECT_EQ(leadingNumber("0"), 0);
  EXPECT_EQ(leadingNumber("42"), 42);
  EXPECT_EQ(leadingNumber("0042"), 42);
  EXPECT_EQ(leadingNumber("-7"), -7);
  EXPECT_EQ(leadingNumber("+7"), 7);
}

TEST(RVXUnicodeTextTest, NumberEndsAtTheFirstOtherCharacter) {
  EXPECT_EQ(leadingNumber("12#34"), 12);
  EXPECT_EQ(leadingNumber("3.9"), 3);
  EXPECT_EQ(leadingNumber("1 2"), 1);
  EXPECT_EQ(leadingNumber("0x10"), 0);
  EXPECT_EQ(leadingNumber("1e3"), 1);
}

TEST(RVXUnicodeTextTest, NoDigitsAreZero) {
  for (const char* text : {"", "abc", "-", "+", "--5", "+-5", "- 5", "#1", ".5",
                           "\xFF"
                           "5"}) {
    EXPECT_EQ(leadingNumber(text), 0) << text;
  }
}

TEST(RVXUnicodeTextTest, LeadingWhiteSpaceIsSkipped) {
  EXPECT_EQ(leadingNumber(" \t\n\v\f\r5"), 5);
  EXPECT_EQ(leadingNumber("  -5"), -5);
  EXPECT_EQ(leadingNumber("\u00A0\u2003\u3000"
                          "5"),
            5);
}

// The characters with the property White_Space in Unicode's PropList.txt, and the neighbours of their ranges.
TEST(RVXUnicodeTextTest, AllWhiteSpaceIsSkippedAndNothingElse) {
  for (const char* const space : {"\t", "\n", "\v", "\f", "\r", " ", "\xC2\x85", "\u00A0", "\u1680", "\u2000",
                                  "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_EQ(leadingNumber(std::string(space) + "5"), 5) << space;
  }
  for (const char* const other : {"\b", "\x0E", "\x1F", "!", "\xC2\x84", "\u00A1", "\u167F", "\u1FFF",
                                  "\u200B", "\u2027", "\u202A", "\u2060", "\u3001"}) {
    EXPECT_EQ(leadingNumber(std::string(other) + "5"), 0) << other;
  }
}

TEST(RVXUnicodeTextTest, NumbersAtTheLimits) {
  EXPECT_EQ(leadingNumber("2147483647"), 2147483647);
  EXPECT_EQ(leadingNumber("-2147483648"), -2147483647 - 1);
}

TEST(RVXUnicodeTextTest, NumbersBeyondTheLimitsAreTheLimits) {
  for (const char* text : {"2147483648", "4294967296", "4294967297", "9223372036854775808",
                           "18446744073709551617", "99999999999999999999999999999999"}) {
    EXPECT_EQ(leadingNumber(text), 2147483647) << text;
  }
  for (const char* text :
       {"-2147483649", "-4294967295", "-18446744073709551615", "-99999999999999999999999999999999"}) {
    EXPECT_EQ(leadingNumber(text), -2147483647 - 1) << text;
  }
}

TEST(RVXUnicodeTextTest, LeadingZerosDontSaturate) {
  EXPECT_EQ(leadingNumber(std::string(100, '0') + "12"), 12);
}

TEST(RVXUnicodeTextTest, DigitsOfOtherScripts) {
  EXPECT_EQ(leadingNumber("\u0661\u0662\u0663"), 123);  // Arabic-Indic
  EXPECT_EQ(leadingNumber("\uFF14"
                          "5\U0001D7E4"),
            452);  // full-width, ASCII, sans-serif
}

TEST(RVXUnicodeTextTest, NumberInsideAText) {
  const std::string text = "\u00E412-34";
  const auto characters = charactersOf(text);
  EXPECT_EQ(leadingNumber(characters, 1), 12);
  EXPECT_EQ(leadingNumber(characters, 2), 2);
  EXPECT_EQ(leadingNumber(characters, 3), -34);
  EXPECT_EQ(leadingNumber(characters, 6), 0);
}
