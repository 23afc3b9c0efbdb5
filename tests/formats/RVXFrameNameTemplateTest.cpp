#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "formats/RVXFrameNameTemplate.h"

namespace {

constexpr int kWidestField = 4096;

std::string name(std::string_view nameTemplate, int32_t frameNumber = 7) {
  return frameNameFromTemplate(nameTemplate, frameNumber, kWidestField);
}

}  // namespace

TEST(RVXFrameNameTemplateTest, NumberIsPaddedWithZeros) {
  EXPECT_EQ(name("clip_%04i.dpx", 1), "clip_0001.dpx");
}

TEST(RVXFrameNameTemplateTest, LongNumberIsNotCut) {
  EXPECT_EQ(name("clip_%04i.dpx", 123456), "clip_123456.dpx");
}

TEST(RVXFrameNameTemplateTest, WidthZeroIsNotPadded) {
  EXPECT_EQ(name("x#%00i.dpx", 0), "x#0.dpx");
}

TEST(RVXFrameNameTemplateTest, NegativeNumberIsPaddedBehindItsSign) {
  EXPECT_EQ(name("%05i", -12), "-0012");
}

TEST(RVXFrameNameTemplateTest, SmallestNumber) {
  EXPECT_EQ(name("%04i", std::numeric_limits<int32_t>::min()), "-2147483648");
}

TEST(RVXFrameNameTemplateTest, NoConversion) {
  EXPECT_EQ(name("clip.dpx"), "clip.dpx");
}

TEST(RVXFrameNameTemplateTest, EmptyTemplate) {
  EXPECT_EQ(name(""), "");
}

TEST(RVXFrameNameTemplateTest, DoublePercentIsOne) {
  EXPECT_EQ(name("100%%_%04i"), "100%_0007");
}

TEST(RVXFrameNameTemplateTest, DoublePercentBehindTheNumberIsOne) {
  EXPECT_EQ(name("%04i_100%%"), "0007_100%");
}

TEST(RVXFrameNameTemplateTest, TriplePercentIsOneAndAConversion) {
  EXPECT_EQ(name("%%%d"), "%7");
}

TEST(RVXFrameNameTemplateTest, OnlyTheFirstConversionTakesTheNumber) {
  EXPECT_EQ(name("%d_%04i"), "7_%04i");
}

TEST(RVXFrameNameTemplateTest, OtherIntegerConversions) {
  EXPECT_EQ(name("%u", 255), "255");
  EXPECT_EQ(name("%x", 255), "ff");
  EXPECT_EQ(name("%X", 255), "FF");
  EXPECT_EQ(name("%o", 8), "10");
}

TEST(RVXFrameNameTemplateTest, LengthModifiersReadNoMoreThanTheNumber) {
  for (const char* conversion : {"%hhd", "%hd", "%ld", "%lld", "%qd", "%jd", "%zd", "%td"}) {
    EXPECT_EQ(name(conversion, -7), "-7") << conversion;
  }
}

TEST(RVXFrameNameTemplateTest, FlagsWidthAndPrecision) {
  EXPECT_EQ(name("[%+d]"), "[+7]");
  EXPECT_EQ(name("[% d]"), "[ 7]");
  EXPECT_EQ(name("[%-4d]"), "[7   ]");
  EXPECT_EQ(name("[%6.3d]"), "[   007]");
  EXPECT_EQ(name("[%#x]"), "[0x7]");
}

TEST(RVXFrameNameTemplateTest, ConversionsOfOtherTypesStay) {
  for (const char* conversion :
       {"%s", "%n", "%p", "%f", "%g", "%a", "%c", "%ls", "%hhn", "%S", "%@", "%m", "%L", "%_"}) {
    EXPECT_EQ(name(std::string(conversion) + "%04i"), std::string(conversion) + "0007") << conversion;
  }
}

TEST(RVXFrameNameTemplateTest, StarWidthStays) {
  EXPECT_EQ(name("%*d%.*d%04i"), "%*d%.*d0007");
}

TEST(RVXFrameNameTemplateTest, PositionalConversionStays) {
  EXPECT_EQ(name("%2$d%1$n%04i"), "%2$d%1$n0007");
}

TEST(RVXFrameNameTemplateTest, WidestFieldIsFormatted) {
  EXPECT_EQ(name("%4096d"), std::string(4095, ' ') + "7");
}

TEST(RVXFrameNameTemplateTest, WiderFieldStays) {
  EXPECT_EQ(name("%4097d%04i"), "%4097d0007");
  EXPECT_EQ(name("%999999999d%04i"), "%999999999d0007");
}

TEST(RVXFrameNameTemplateTest, LargerPrecisionStays) {
  EXPECT_EQ(name("%.4097d%04i"), "%.4097d0007");
  EXPECT_EQ(name("%1.999999999d%04i"), "%1.999999999d0007");
}

TEST(RVXFrameNameTemplateTest, WidthBeyondEveryIntegerStays) {
  EXPECT_EQ(name("%18446744073709551617d%04i"), "%18446744073709551617d0007");
  EXPECT_EQ(name("%.99999999999999999999999999d%04i"), "%.99999999999999999999999999d0007");
}

TEST(RVXFrameNameTemplateTest, UnfinishedConversionAtTheEndStays) {
  for (const char* end : {"%", "%0", "%5", "%5.", "%5.2", "%ll", "%-+ #0"}) {
    EXPECT_EQ(name(std::string("a") + end), std::string("a") + end) << end;
  }
}

TEST(RVXFrameNameTemplateTest, PercentBehindTheNumberStays) {
  EXPECT_EQ(name("%04i%s%n%d%"), "0007%s%n%d%");
}

TEST(RVXFrameNameTemplateTest, BytesOfOtherEncodingsStay) {
  EXPECT_EQ(name("\xFF\xC3%04i\x80"),
            "\xFF\xC3"
            "0007\x80");
}
