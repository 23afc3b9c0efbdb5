#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "platform/system/RVXDigest.h"
#include "platform/system/UnicodeText.h"

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

TEST(UnicodeTextTest, CharactersAtTheLimitsOfEverySequenceLength) {
  EXPECT_TRUE(charactersOf("").empty());
  EXPECT_EQ(codePointsOf(std::string_view("a\0b", 3)), std::u32string(U"a\0b", 3));
  EXPECT_EQ(codePointsOf("\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"),
            U"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF");
}

TEST(UnicodeTextTest, BytesOfACharacterArePartOfTheText) {
  const std::string text = "a\u20ACb";
  const auto characters = charactersOf(text);
  ASSERT_EQ(characters.size(), 3U);
  EXPECT_EQ(characters[1].bytes, "\u20AC");
  EXPECT_EQ(characters[1].bytes.data(), text.data() + 1);
}

TEST(UnicodeTextTest, EveryInvalidByteIsACharacterOfItsOwnAndMakesTheTextInvalid) {
  for (const std::string_view bytes : kNoText) {
    EXPECT_EQ(charactersOf(bytes).front().codePoint, kInvalidByte);
    EXPECT_EQ(charactersOf(bytes).front().bytes.size(), 1U);
    for (const char* const around : {"", "abc"}) {
      EXPECT_FALSE(isValidUTF8(std::string(around).append(bytes)));
      EXPECT_FALSE(isValidUTF8(std::string(bytes).append(around)));
    }
  }
  for (const char* text : {"", "abc", "\u00E4", "\u20AC", "\U0001F600", "\uFFFD", "\uFEFF"}) {
    EXPECT_TRUE(isValidUTF8(text)) << text;
  }
}

TEST(UnicodeTextTest, ValidTextAfterAnInvalidByteIsRead) {
  EXPECT_EQ(codePointsOf("\xFF"
                         "1\xC3\u00E4"),
            U"\uFFFD1\uFFFD\u00E4");
}

TEST(UnicodeTextTest, BytesJoinedAgainAreTheText) {
  for (const std::string_view bytes : kNoText) {
    const std::string text = std::string("a").append(bytes).append("\u20AC").append(bytes);
    std::string joined;
    for (const RVXCharacter& character : charactersOf(text)) joined += character.bytes;
    EXPECT_EQ(joined, text);
  }
}

TEST(UnicodeTextTest, DecimalDigitsAreThoseOfUnicode14) {
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

TEST(UnicodeTextTest, LeadingNumbers) {
  constexpr int32_t kLeast = -2147483647 - 1;
  const struct {
    std::string text;
    int32_t number;
  } cases[] = {
      {"0", 0},
      {"0042", 42},
      {std::string(100, '0') + "12", 12},
      {"-7", -7},
      {"+7", 7},
      // ends at the first other character
      {"12#34", 12},
      {"3.9", 3},
      {"1 2", 1},
      {"0x10", 0},
      {"1e3", 1},
      // no digits
      {"", 0},
      {"abc", 0},
      {"-", 0},
      {"+", 0},
      {"--5", 0},
      {"+-5", 0},
      {"- 5", 0},
      {".5", 0},
      {"\xFF"
       "5",
       0},
      // white space
      {" \t\n\v\f\r5", 5},
      {"\u00A0\u2003\u3000"
       "-5",
       -5},
      // at the limits and beyond
      {"2147483647", 2147483647},
      {"2147483648", 2147483647},
      {"4294967297", 2147483647},
      {"18446744073709551617", 2147483647},
      {"99999999999999999999999999999999", 2147483647},
      {"-2147483648", kLeast},
      {"-2147483649", kLeast},
      {"-4294967295", kLeast},
      {"-18446744073709551615", kLeast},
      // other scripts: Arabic-Indic; full-width, ASCII and sans-serif together
      {"\u0661\u0662\u0663", 123},
      {"\uFF14"
       "5\U0001D7E4",
       452},
  };
  for (const auto& example : cases) EXPECT_EQ(leadingNumber(example.text), example.number) << example.text;
}

// The characters with the property White_Space in Unicode's PropList.txt, and the neighbours of their ranges.
TEST(UnicodeTextTest, AllWhiteSpaceIsSkippedAndNothingElse) {
  for (const char* const space : {"\t", "\n", "\v", "\f", "\r", " ", "\xC2\x85", "\u00A0", "\u1680", "\u2000",
                                  "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_EQ(leadingNumber(std::string(space) + "5"), 5) << space;
  }
  for (const char* const other : {"\b", "\x0E", "\x1F", "!", "\xC2\x84", "\u00A1", "\u167F", "\u1FFF",
                                  "\u200B", "\u2027", "\u202A", "\u2060", "\u3001"}) {
    EXPECT_EQ(leadingNumber(std::string(other) + "5"), 0) << other;
  }
}

TEST(UnicodeTextTest, NumberInsideAText) {
  const std::string text = "\u00E412-34";
  const auto characters = charactersOf(text);
  EXPECT_EQ(leadingNumber(characters, 1), 12);
  EXPECT_EQ(leadingNumber(characters, 2), 2);
  EXPECT_EQ(leadingNumber(characters, 3), -34);
  EXPECT_EQ(leadingNumber(characters, 6), 0);
}
